const int MAX_ROOTS = 64;

// The nearest of the roots, without the material.
float sceneSDF(vec3 pos) {
    if (nodeCount == 0) {
        return 1e10;
    }
    float nearest = 1e10;
    int root = rootNodeIndex;
    for (int i = 0; i < MAX_ROOTS && root >= 0 && root < nodeCount; ++i) {
        nearest = min(nearest, evaluateSceneTree(pos, root));
        root = nodes[root].nextSibling;
    }
    return nearest;
}
