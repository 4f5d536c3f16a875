#pragma once

#include <QByteArray>
#include <QMutex>
#include <QString>
#include <private/qshader_p.h>

#include <optional>

namespace shader {

/// What compiles have cost before, as files under the application's local data: shaders, SPIR-V of
/// test compiles, and the driver's pipeline binaries. The key is made of the content, so nothing in
/// it goes out of date; what was not used for longest goes when all of it takes more than 512 MiB
/// (cache::CacheLimit).
///
/// A file that can't be read or makes no sense is a miss, one that can't be written costs only the
/// cache. Any thread: the mutex is held for the file access, never during a compile.
class ArtifactCache
{
public:
    /// The process-wide cache, in QStandardPaths::AppLocalDataLocation.
    static ArtifactCache &instance();
    /// A cache under another folder.
    explicit ArtifactCache(const QString &root);

    [[nodiscard]] QString shaderDir() const { return m_shaderDir; }
    [[nodiscard]] QString pipelineDir() const { return m_pipelineDir; }

    /// Of source, application version and stage; 32 hexadecimal digits.
    [[nodiscard]] static QString shaderKey(const QString &source, QShader::Stage stage);
    /// An invalid shader on a miss.
    [[nodiscard]] QShader loadShader(const QString &key) const;
    void saveShader(const QString &key, const QShader &shader) const;

    /// SPIR-V of a test compile that succeeded, with the compiler's warnings.
    struct Spirv
    {
        QByteArray binary;
        QString messages;
    };
    [[nodiscard]] std::optional<Spirv> loadSpirv(const QString &key) const;
    void saveSpirv(const QString &key, const Spirv &spirv) const;

    /// Of a serialised shader and the description of the driver; 32 hexadecimal digits.
    [[nodiscard]] static QString pipelineCacheKey(const QByteArray &shaderBytes,
                                                  const QString &driverInfo);
    /// Empty on a miss.
    [[nodiscard]] QByteArray loadPipelineCache(const QString &key) const;
    void savePipelineCache(const QString &key, const QByteArray &bytes) const;

private:
    QByteArray load(const QString &path) const;
    bool save(const QString &path, const QByteArray &bytes, QString &error) const;

    QString m_shaderDir;
    QString m_pipelineDir;
    mutable QMutex m_mutex;
};

} // namespace shader
