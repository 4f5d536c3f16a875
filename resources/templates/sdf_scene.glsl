const int MAX_ROOTS = 64;

// The nearest of the roots; the earlier one wins a tie. Leaves the winner's material in the globals.
float sceneSDF(vec3 pos) {
    if (nodeCount == 0) {
        return 1e10;
    }
    float nearest = 1e10;
    int material = -1;
    int secondary = -1;
    float blend = 0.0;
    int root = rootNodeIndex;
    for (int i = 0; i < MAX_ROOTS && root >= 0 && root < nodeCount; ++i) {
        float dist = evaluateSceneTree(pos, root);
        if (dist < nearest) {
            nearest = dist;
            material = g_resultMaterialNode;
            secondary = g_resultSecondaryMaterial;
            blend = g_resultBlendFactor;
        }
        root = nodes[root].nextSibling;
    }
    g_resultMaterialNode = material;
    g_resultSecondaryMaterial = secondary;
    g_resultBlendFactor = blend;
    return nearest;
}
