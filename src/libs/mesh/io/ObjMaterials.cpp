#include "ObjMaterials.h"

#include "NumberText.h"

#include <store/RegularFile.h>

#include <QDir>
#include <QFileInfo>
#include <QVariantList>

using namespace Qt::StringLiterals;

namespace mesh::io {

namespace {

// A library is text that somebody else names: it must not lead to a device or keep the reader busy
// for ever.
constexpr qint64 largestLibrary = 16 << 20;
constexpr int mostLibraries = 64;

double unit(double value)
{
    return std::clamp(value, 0.0, 1.0);
}

} // namespace

QString ObjMaterials::libraryPath(const QString &name) const
{
    const QString clean = QDir::cleanPath(name);
    if (m_folder.isNull() || clean.isEmpty() || QDir::isAbsolutePath(clean) ||
        clean.startsWith(".."_L1))
        return {};
    const QString path = m_folder + u'/' + clean;
    const QFileInfo info(path);
    return info.isFile() && info.size() <= largestLibrary ? path : QString();
}

void ObjMaterials::readLibrary(const QString &name)
{
    const QString path = libraryPath(name);
    if (path.isEmpty() || m_readLibraries.contains(path) || m_readLibraries.size() >= mostLibraries)
        return;
    m_readLibraries.insert(path);
    const auto text = store::readRegularFile(path, largestLibrary);
    if (!text)
        return;
    Properties *current = nullptr;
    for (const QByteArray &line : text->split('\n'))
        readProperty(line, current);
}

void ObjMaterials::readProperty(QByteArrayView line, Properties *&current)
{
    Tokens tokens(line);
    const QByteArrayView key = tokens.next();
    if (isWord(key, "newmtl")) {
        current = &m_propertiesOfName[QString::fromUtf8(tokens.rest())];
        return;
    }
    if (!current)
        return;
    double values[3] = {};
    int count = 0;
    while (count < 3 && parseReal(tokens.next(), values[count]) && std::isfinite(values[count]))
        ++count;
    readValue(key, values, count, *current);
}

void ObjMaterials::readValue(QByteArrayView key, const double *values, int count, Properties &to)
{
    if (isWord(key, "kd") && count == 3)
        std::transform(values, values + 3, to.albedo, unit);
    else if (isWord(key, "ks") && count == 3)
        to.metallic = unit((values[0] + values[1] + values[2]) / 3);
    else if (isWord(key, "ns") &&
             count >= 1) // the roughness whose highlight is as wide as the exponent's
        to.roughness = unit(std::sqrt(2 / (2 + std::max(0.0, values[0]))));
    else if (isWord(key, "d") && count >= 1)
        to.alpha = unit(values[0]);
    else if (isWord(key, "tr") && count >= 1)
        to.alpha = unit(1 - values[0]);
}

int ObjMaterials::use(const QString &name)
{
    const auto known = m_numberOfName.constFind(name);
    if (known != m_numberOfName.cend())
        return *known;
    const int number = int(m_numberOfName.size());
    m_numberOfName.insert(name, number);
    return number;
}

void ObjMaterials::writeTo(QVariantMap &metadata) const
{
    if (isEmpty())
        return;
    QVariantList materials(m_numberOfName.size());
    QVariantMap numbers;
    for (auto it = m_numberOfName.cbegin(); it != m_numberOfName.cend(); ++it) {
        const Properties properties = m_propertiesOfName.value(it.key());
        materials[it.value()] = QVariantMap{{u"name"_s, it.key()},
                                            {u"albedoR"_s, properties.albedo[0]},
                                            {u"albedoG"_s, properties.albedo[1]},
                                            {u"albedoB"_s, properties.albedo[2]},
                                            {u"alpha"_s, properties.alpha},
                                            {u"metallic"_s, properties.metallic},
                                            {u"roughness"_s, properties.roughness}};
        numbers.insert(it.key(), it.value());
    }
    metadata.insert(u"materials"_s, materials);
    metadata.insert(u"materialNameToId"_s, numbers);
}

} // namespace mesh::io
