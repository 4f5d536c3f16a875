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

// Inflation and shell of a primitive.
float finishedPrimitive(int nodeIndex, float dist) {
    dist += nodes[nodeIndex].densityScale - 1.0;
    if (nodes[nodeIndex].shellThickness > 0.0) {
        dist = abs(dist) - nodes[nodeIndex].shellThickness;
    }
    return dist;
}

vec3 primitivePosition(int nodeIndex, vec3 pos) {
    return (nodes[nodeIndex].invTransform * vec4(pos, 1.0)).xyz;
}

// Share of the accumulated material where an operator folds an operand of distance d1 into d2.
float materialShare(int nodeIndex, float d1, float d2) {
    uint mode = nodes[nodeIndex].materialMode;
    if (mode == MATERIAL_MODE_BASE_WINS) {
        return 1.0;
    }
    if (mode == MATERIAL_MODE_OPERAND_WINS) {
        return 0.0;
    }
    return applyCsgBlend(nodes[nodeIndex].definitionIndex, d1, d2, nodes[nodeIndex].smoothRadius);
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

// The value so far of an operator, with one more child.
FieldValue foldedValue(int nodeIndex, FieldValue operand, FieldValue accumulated) {
    float dist = applyCsgOp(nodes[nodeIndex].operationType, operand.dist, accumulated.dist,
                            nodes[nodeIndex].smoothRadius);
    return mixedValue(dist, materialShare(nodeIndex, operand.dist, accumulated.dist), operand,
                      accumulated);
}

void storeMaterials(FieldValue value) {
    g_resultMaterialNode = value.material;
    g_resultSecondaryMaterial = value.secondary;
    g_resultBlendFactor = value.blend;
}
