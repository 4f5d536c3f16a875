#include <corvane/model/SDFNodeProvenance.h>

#include <corvane/model/TransformPart.h>

#include <array>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

using Role = SDFNodeProvenance::Role;

constexpr std::array roleNames{
    "unknown"_L1,       "core"_L1,          "wrapper-translate"_L1,   "wrapper-rotate"_L1,
    "wrapper-scale"_L1, "operator-slot"_L1, "operator-slot-empty"_L1, "convenience-wrapper"_L1,
};
static_assert(roleNames.size() == std::size_t(Role::ConvenienceWrapper) + 1);

QUuid readId(const QVariantMap &map, const QString &key)
{
    return QUuid::fromString(map.value(key).toString());
}

} // namespace

QVariantMap SDFNodeProvenance::toVariantMap() const
{
    return {
        {u"compiledId"_s, compiledId.toString(QUuid::WithoutBraces)},
        {u"sourceItemId"_s, sourceItemId.toString(QUuid::WithoutBraces)},
        {u"sourceItemName"_s, sourceItemName},
        {u"role"_s, int(role)},
        {u"roleDetail"_s, roleDetail},
        {u"parentCompiledId"_s, parentCompiledId},
    };
}

SDFNodeProvenance SDFNodeProvenance::fromVariantMap(const QVariantMap &map)
{
    SDFNodeProvenance provenance;
    provenance.compiledId = readId(map, u"compiledId"_s);
    provenance.sourceItemId = readId(map, u"sourceItemId"_s);
    provenance.sourceItemName = map.value(u"sourceItemName"_s).toString();
    const int role = map.value(u"role"_s).toInt();
    if (role > 0 && role < int(roleNames.size()))
        provenance.role = Role(role);
    provenance.roleDetail = map.value(u"roleDetail"_s).toString();
    provenance.parentCompiledId = map.value(u"parentCompiledId"_s).toString();
    return provenance;
}

QString roleToString(SDFNodeProvenance::Role role)
{
    const auto index = std::size_t(role);
    return index < roleNames.size() ? roleNames[index] : roleNames[0];
}

SDFNodeProvenance::Role classifyRoleForSuffix(const QString &suffix)
{
    if (suffix == "core"_L1)
        return Role::Core;
    const std::size_t part = transformPartOf(suffix);
    return part < transformParts.size() ? Role(int(Role::WrapperTranslate) + int(part))
                                        : Role::ConvenienceWrapper;
}

} // namespace corvane::model
