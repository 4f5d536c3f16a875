// ============= Values of Nodes =============
// What a node gives at a point: the distance, and the one or two nodes whose materials show there.
// 1e10 is the distance of what is not there.

const float NO_VALUE = 1e10;

int g_resultMaterialNode = -1;
int g_resultSecondaryMaterial = -1;
float g_resultBlendFactor = 0.0;

struct FieldValue {
    float dist;
    int material;
    int secondary;
    float blend; // share of the secondary material
};

FieldValue noValue() {
    return FieldValue(NO_VALUE, -1, -1, 0.0);
}

// A value whose distance is `dist` and whose materials are mixed of two: all of the operand's below
// 0.001, all of the accumulated ones above 0.999, the main ones of both in between.
FieldValue mixedValue(float dist, float share, FieldValue operand, FieldValue accumulated) {
    FieldValue value = operand;
    if (share > 0.999) {
        value = accumulated;
    } else if (share >= 0.001) {
        value.secondary = accumulated.material;
        value.blend = share;
    }
    value.dist = dist;
    return value;
}

void storeMaterials(FieldValue value) {
    g_resultMaterialNode = value.material;
    g_resultSecondaryMaterial = value.secondary;
    g_resultBlendFactor = value.blend;
}
