#ifndef SPECIALISED_SCENE
// The nearest of the roots, without the material.
float sceneSDF(vec3 pos) {
    float nearest = NO_VALUE;
    int root = rootNodeIndex;
    int rootsLeft = nodeCount;
    if (isNode(root)) {
        do {
            float dist = walkTree(pos, root).dist;
            nearest = dist < nearest ? dist : nearest;
            root = nodes[root].nextSibling;
            --rootsLeft;
        } while (isNode(root) && rootsLeft > 0);
    }
    return nearest;
}
#endif
