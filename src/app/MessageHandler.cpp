#include "MessageHandler.h"

#include "TerminalText.h"

#include <QByteArray>
#include <QString>

#include <cstdio>

namespace {

void writeMessage(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    const QByteArray line = terminalText(qFormatLogMessage(type, context, message)).toUtf8() + '\n';
    std::fwrite(line.constData(), 1, size_t(line.size()),
                stderr); // one call, so that threads do not mix lines
}

} // namespace

void installMessageHandler()
{
    qInstallMessageHandler(writeMessage);
}
