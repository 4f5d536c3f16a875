#include "MessageHandler.h"

#include "ProgressPrinter.h"
#include "TerminalText.h"

#include <QByteArray>
#include <QString>

using namespace Qt::StringLiterals;

namespace {

// Says nothing beyond the diagnostics that the compile answers and that are told with their place.
constexpr auto compilerNotice = "QSpirvCompiler: Failed to parse shader"_L1;

void writeMessage(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (message == compilerNotice)
        return;
    const QByteArray line = terminalText(qFormatLogMessage(type, context, message)).toUtf8() + '\n';
    ProgressPrinter::printAbove(line); // one call, so that threads do not mix lines
}

} // namespace

void installMessageHandler()
{
    qInstallMessageHandler(writeMessage);
}
