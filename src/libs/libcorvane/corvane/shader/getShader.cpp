#include <corvane/shader/getShader.h>

#include <QFile>
#include <QLoggingCategory>

namespace corvane::shader {

Q_LOGGING_CATEGORY(lcResources, "ondrel.shader.resources", QtWarningMsg)

QShader getShader(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qCWarning(lcResources).noquote() << "Could not open" << path << "for reading shader";
        return {};
    }
    const QShader shader = QShader::fromSerialized(file.readAll());
    if (shader.isValid())
        qCInfo(lcResources).noquote() << "Read" << path << "into shader";
    else
        qCWarning(lcResources).noquote() << "Could not read a shader from" << path;
    return shader;
}

} // namespace corvane::shader
