#include <corvane/rendering/post/BakedShader.h>

#include <QFile>
#include <QLoggingCategory>

namespace corvane::rendering {

Q_LOGGING_CATEGORY(lcBakedShader, "ondrel.rendering.shader", QtWarningMsg)

QShader bakedShader(const QString &path)
{
    QFile file(path);
    QShader shader;
    if (file.open(QIODevice::ReadOnly))
        shader = QShader::fromSerialized(file.readAll());
    if (!shader.isValid())
        qCWarning(lcBakedShader).noquote() << "Cannot load the shader" << path;
    return shader;
}

} // namespace corvane::rendering
