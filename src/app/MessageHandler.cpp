#include "MessageHandler.h"

#include "ProgressPrinter.h"

#include <QByteArray>
#include <QString>

namespace {

void writeMessage(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    const QByteArray line = qFormatLogMessage(type, context, message).toUtf8() + '\n';
    ProgressPrinter::printAbove(line); // one call, so that threads do not mix lines
}

} // namespace

void installMessageHandler()
{
    qInstallMessageHandler(writeMessage);
}
