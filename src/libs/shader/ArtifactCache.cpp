#include <shader/ArtifactCache.h>

#include <cache/CacheLimit.h>
#include <store/RegularFile.h>

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QMutexLocker>
#include <QStandardPaths>
#include <QtEndian>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace shader {

Q_LOGGING_CATEGORY(lcShaderCache, "ondrel.shader.cache", QtWarningMsg)

namespace {

constexpr int keyLength = 32;
constexpr char spirvMagic[] = "CSV1";
constexpr qsizetype magicLength = 4;
constexpr qsizetype digestLength = 20;
constexpr qsizetype spirvHeaderLength = magicLength + digestLength + 4;

QString keyOf(const QCryptographicHash &hash)
{
    return QString::fromLatin1(hash.result().toHex().first(keyLength));
}

constexpr qint64 largestEntry = 64 << 20;

// Replaces the file at once, so that a reader, or a second program, never meets half of one. It is
// not synced: what a crash leaves is found out when it is read.
bool replaceFile(const QString &path, const QByteArray &bytes, QString &error)
{
    QDir().mkpath(QFileInfo(path).path());
    const QString partPath = path + u".%1.part"_s.arg(QCoreApplication::applicationPid());
    QFile part(partPath);
    part.remove(); // a process of the same number may have been killed here
    const bool isWritten = part.open(QIODevice::WriteOnly | QIODevice::NewOnly) &&
                           part.write(bytes) == bytes.size() && part.flush();
    error = part.errorString();
    part.close();
    if (isWritten && std::rename(QFile::encodeName(partPath), QFile::encodeName(path)) == 0)
        return true;
    if (isWritten)
        error = u"cannot rename"_s;
    part.remove();
    return false;
}

QByteArray spirvFileOf(const ArtifactCache::Spirv &spirv)
{
    const QByteArray messages = spirv.messages.toUtf8();
    QByteArray payload(4, Qt::Uninitialized);
    qToLittleEndian(quint32(messages.size()), payload.data());
    payload += messages;
    payload += spirv.binary;
    return QByteArray(spirvMagic) + QCryptographicHash::hash(payload, QCryptographicHash::Sha1) +
           payload;
}

std::optional<ArtifactCache::Spirv> spirvOfFile(const QByteArray &file)
{
    if (file.size() < spirvHeaderLength || !file.startsWith(spirvMagic))
        return std::nullopt;
    const QByteArray payload = file.sliced(magicLength + digestLength);
    const QByteArrayView digest = QByteArrayView(file).sliced(magicLength, digestLength);
    if (QCryptographicHash::hash(payload, QCryptographicHash::Sha1) != digest)
        return std::nullopt;
    const qsizetype length = qsizetype(qFromLittleEndian<quint32>(payload.constData()));
    if (length > payload.size() - 4)
        return std::nullopt;
    return ArtifactCache::Spirv{.binary = payload.sliced(4 + length),
                                .messages = QString::fromUtf8(payload.sliced(4, length))};
}

} // namespace

ArtifactCache &ArtifactCache::instance()
{
    static ArtifactCache cache(
        QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation));
    return cache;
}

ArtifactCache::ArtifactCache(const QString &root)
    : m_shaderDir(root + "/shaders"_L1)
    , m_pipelineDir(root + "/pipelines"_L1)
{}

/// An entry that can't be read is as good as none: it is made again.
QByteArray ArtifactCache::load(const QString &path) const
{
    const QMutexLocker lock(&m_mutex);
    const QByteArray bytes = store::readRegularFile(path, largestEntry).value_or(QByteArray());
    if (!bytes.isEmpty())
        cache::CacheLimit::noteUse(path);
    return bytes;
}

bool ArtifactCache::save(const QString &path, const QByteArray &bytes, QString &error) const
{
    const QMutexLocker lock(&m_mutex);
    const bool isSaved = replaceFile(path, bytes, error);
    if (isSaved)
        cache::CacheLimit({.folders = {m_shaderDir, m_pipelineDir},
                           .suffixes = {u".qsb"_s, u".spv"_s, u".bin"_s},
                           .leftovers = {u".part"_s}})
            .noteStore(bytes.size());
    return isSaved;
}

// The version makes a new build start afresh, without any sweep.
QString ArtifactCache::shaderKey(const QString &source, QShader::Stage stage)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(source.toUtf8());
    hash.addData(QCoreApplication::applicationVersion().toUtf8());
    const int stageNumber = int(stage);
    hash.addData(QByteArrayView(reinterpret_cast<const char *>(&stageNumber), sizeof stageNumber));
    return keyOf(hash);
}

QShader ArtifactCache::loadShader(const QString &key) const
{
    const QByteArray bytes = load(m_shaderDir + u'/' + key + ".qsb"_L1);
    if (bytes.isEmpty())
        return {};
    const QShader shader = QShader::fromSerialized(bytes);
    if (shader.isValid())
        qCInfo(lcShaderCache).noquote() << "shader::ArtifactCache: cache hit for" << key;
    return shader;
}

void ArtifactCache::saveShader(const QString &key, const QShader &shader) const
{
    const QByteArray bytes = shader.serialized();
    QString error;
    if (save(m_shaderDir + u'/' + key + ".qsb"_L1, bytes, error))
        qCInfo(lcShaderCache).noquote() << "shader::ArtifactCache: saved shader" << key;
    else
        qCWarning(lcShaderCache).noquote()
            << "shader::ArtifactCache: failed to save shader" << key << error;
}

std::optional<ArtifactCache::Spirv> ArtifactCache::loadSpirv(const QString &key) const
{
    return spirvOfFile(load(m_shaderDir + u'/' + key + ".spv"_L1));
}

// Of no use to the user but to save time, so a full disk is not worth a warning here.
void ArtifactCache::saveSpirv(const QString &key, const Spirv &spirv) const
{
    QString error;
    if (!save(m_shaderDir + u'/' + key + ".spv"_L1, spirvFileOf(spirv), error))
        qCInfo(lcShaderCache).noquote()
            << "shader::ArtifactCache: failed to save SPIR-V" << key << error;
}

QString ArtifactCache::pipelineCacheKey(const QByteArray &shaderBytes, const QString &driverInfo)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(shaderBytes);
    hash.addData(driverInfo.toUtf8());
    return keyOf(hash);
}

QByteArray ArtifactCache::loadPipelineCache(const QString &key) const
{
    const QByteArray bytes = load(m_pipelineDir + u'/' + key + ".bin"_L1);
    if (!bytes.isEmpty())
        qCInfo(lcShaderCache).noquote() << "shader::ArtifactCache: pipeline cache hit for" << key;
    return bytes;
}

void ArtifactCache::savePipelineCache(const QString &key, const QByteArray &bytes) const
{
    QString error;
    if (save(m_pipelineDir + u'/' + key + ".bin"_L1, bytes, error))
        qCInfo(lcShaderCache).noquote() << "shader::ArtifactCache: saved pipeline cache" << key;
    else
        qCWarning(lcShaderCache).noquote()
            << "shader::ArtifactCache: failed to save pipeline cache" << key << error;
}

} // namespace shader
