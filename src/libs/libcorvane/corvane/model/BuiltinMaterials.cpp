#include <corvane/model/BuiltinMaterials.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

struct Row
{
    QLatin1StringView name;
    QLatin1StringView category;
    float red, green, blue;
    float metallic;
    float roughness;
    float emission;
};

constexpr auto metals = "Metals"_L1;
constexpr auto plastics = "Plastics"_L1;
constexpr auto ceramics = "Ceramics"_L1;
constexpr auto stone = "Stone"_L1;
constexpr auto special = "Special"_L1;

// clang-format off
constexpr Row rows[] = {
    // name               category  red    green  blue   metallic roughness emission
    {"Chrome"_L1,          metals,   0.95f, 0.95f, 0.95f, 1.0f, 0.1f,  0.0f},
    {"Gold"_L1,            metals,   1.0f,  0.84f, 0.0f,  1.0f, 0.2f,  0.0f},
    {"Copper"_L1,          metals,   0.95f, 0.64f, 0.54f, 1.0f, 0.25f, 0.0f},
    {"Bronze"_L1,          metals,   0.8f,  0.5f,  0.2f,  1.0f, 0.3f,  0.0f},
    {"Iron"_L1,            metals,   0.56f, 0.57f, 0.58f, 1.0f, 0.4f,  0.0f},
    {"Red plastic"_L1,     plastics, 0.9f,  0.1f,  0.1f,  0.0f, 0.3f,  0.0f},
    {"Blue plastic"_L1,    plastics, 0.1f,  0.3f,  0.9f,  0.0f, 0.3f,  0.0f},
    {"Green plastic"_L1,   plastics, 0.1f,  0.8f,  0.2f,  0.0f, 0.3f,  0.0f},
    {"White plastic"_L1,   plastics, 0.95f, 0.95f, 0.95f, 0.0f, 0.35f, 0.0f},
    {"Black plastic"_L1,   plastics, 0.05f, 0.05f, 0.05f, 0.0f, 0.4f,  0.0f},
    {"Ceramic"_L1,         ceramics, 0.9f,  0.85f, 0.8f,  0.0f, 0.1f,  0.0f},
    {"Porcelain"_L1,       ceramics, 0.98f, 0.98f, 0.98f, 0.0f, 0.05f, 0.0f},
    {"Marble"_L1,          stone,    0.9f,  0.9f,  0.88f, 0.0f, 0.2f,  0.0f},
    {"Granite"_L1,         stone,    0.4f,  0.4f,  0.45f, 0.0f, 0.6f,  0.0f},
    {"Concrete"_L1,        stone,    0.6f,  0.6f,  0.6f,  0.0f, 0.8f,  0.0f},
    {"Glass"_L1,           special,  0.95f, 0.95f, 0.95f, 0.0f, 0.0f,  0.0f},
    {"Rubber"_L1,          special,  0.2f,  0.2f,  0.2f,  0.0f, 0.9f,  0.0f},
    {"Emissive white"_L1,  special,  1.0f,  1.0f,  1.0f,  0.0f, 0.5f,  2.0f},
    {"Emissive orange"_L1, special,  1.0f,  0.5f,  0.0f,  0.0f, 0.5f,  3.0f},
};
// clang-format on

} // namespace

QList<CatalogMaterial> builtinMaterials()
{
    QList<CatalogMaterial> materials;
    materials.reserve(std::size(rows));
    for (const Row &row : rows) {
        CatalogMaterial material;
        material.name = row.name;
        material.category = row.category;
        material.isBuiltIn = true;
        material.setAlbedo({row.red, row.green, row.blue, 1.0f});
        material.setMetallic(row.metallic);
        material.setRoughness(row.roughness);
        material.setEmission(row.emission);
        materials.append(material);
    }
    return materials;
}

QString defaultMaterialName()
{
    return u"White plastic"_s;
}

} // namespace corvane::model
