#include <corvane/shader/getShader.h>

#include <store/RegularFile.h>

#include <QLoggingCategory>

namespace corvane::shader {

Q_LOGGING_CATEGORY(lcResources, "ondrel.shader.resources", QtWarningMsg)

namespace {

constexpr qint64 maxFileSize = 64 * 1024 * 1024;

} // namespace

QShader getShader(const QString &path)
{
    const auto bytes = store::readRegularFile(path, maxFileSize);
    if (!bytes) {
        qCWarning(lcResources).noquote() << "Could not open" << path << "for reading shader";
        return {};
    }
    const QShader shader = QShader::fromSerialized(*bytes);
    if (shader.isValid())
        qCInfo(lcResources).noquote() << "Read" << path << "into shader";
    else
        qCWarning(lcResources).noquote() << "Could not read a shader from" << path;
    return shader;
}

} // namespace corvane::shader
