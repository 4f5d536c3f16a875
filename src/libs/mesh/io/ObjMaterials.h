#pragma once

#include <QHash>
#include <QSet>
#include <QString>
#include <QVariantMap>

namespace mesh::io {

/// The materials of one object file: those that faces use, numbered by their first use, with what
/// material libraries beside the file say about them.
class ObjMaterials
{
public:
    /// @param folder  of the object file; null when it is not known, then libraries are not read
    explicit ObjMaterials(const QString &folder)
        : m_folder(folder)
    {}

    /// Reads a library. One that is missing, too large or not a plain file beside the object file
    /// is left out: its materials keep their defaults.
    void readLibrary(const QString &name);

    int use(const QString &name); ///< the number of a material, made on first use
    bool isEmpty() const { return m_numberOfName.isEmpty(); }

    /// Adds "materials" and "materialNameToId".
    void writeTo(QVariantMap &metadata) const;

private:
    struct Properties
    {
        double albedo[3] = {0.8, 0.8, 0.8};
        double alpha = 1;
        double metallic = 0;
        double roughness = 0.5;
    };
    QString libraryPath(const QString &name) const;
    void readProperty(QByteArrayView line, Properties *&current);
    static void readValue(QByteArrayView key, const double *values, int count, Properties &to);

    QString m_folder;
    QSet<QString> m_readLibraries;
    QHash<QString, Properties> m_propertiesOfName;
    QHash<QString, int> m_numberOfName;
};

} // namespace mesh::io
