#include <corvane/check/KeyTables.h>

#include <array>

using namespace Qt::StringLiterals;

namespace corvane::check::keys {

namespace {

constexpr const char16_t *rows[] = {
    u"version name units embed_builtins varset varsetOrder varsets varsetEntryOrder settings "
    "definitions materials instances roots metadata items formatVersion corvane",
    u"version name units embed_builtins varset varsetOrder varsets varsetEntryOrder settings "
    "definitions materials instances roots metadata components formatVersion corvane",
    u"type params name id itemType tags material materialId translate rotate scale parentId "
    "sortOrder capabilities transform blendSharpness materialMode densityScale shellThickness "
    "__provenance",
    u"type params children wrappers wrapperOrder component name id tags material materialId "
    "translate rotate scale blendSharpness materialMode densityScale shellThickness definition "
    "parameters transform original",
    u"id name category description root instances interface",
    u"alias target binding displayName expression",
    u"item node param",
    u"albedo metallic roughness emission",
    u"albedo metallic roughness emission id name category isBuiltIn lastModified",
    u"value expression type description unit constraints",
    u"min max step enum",
    u"id name description category author version parameters shaderCode blend previewImage "
    "previewScene validationCode sortOrder tags convenience_wrappers enabled nodeType "
    "primaryFunctionName isOperator operationType gizmoGroup fromResources",
    u"name displayName description type uiHint defaultValue minValue maxValue unit section "
    "stepValue required minChildren maxChildren childDisplayPattern drag gizmo",
    u"mapping bounded deltaAtMin deltaAtMax sensitivity pivot linearCore signLock",
    u"type axis symmetric scale offset offsetParam rotation",
    u"type bindings",
};
static_assert(std::size(rows) == GizmoGroup + 1);

QStringList words(const QString &text)
{
    return text.split(u' ', Qt::SkipEmptyParts);
}

} // namespace

const QStringList &of(Map map)
{
    static const auto lists = [] {
        std::array<QStringList, std::size(rows)> all;
        for (std::size_t i = 0; i < all.size(); ++i)
            all.at(i) = words(QString::fromUtf16(rows[i]));
        return all;
    }();
    return lists.at(std::size_t(map));
}

const QStringList &ofBlock(int version)
{
    return of(version >= 2 ? Version2 : Version1);
}

const QStringList &unitWords()
{
    static const QStringList list = words(u"mm cm m um \u00b5m \u03bcm nm dm km in inch ft mil"_s);
    return list;
}

} // namespace corvane::check::keys
