#ifndef SPECIALISED_SCENE
// The nearest of the roots; the earlier one wins a tie. Leaves the winner's material in the globals.
// What is no number is not there, as it is for the meshes.
float sceneSDF(vec3 pos) {
    FieldValue nearest = noValue();
    int root = rootNodeIndex;
    int rootsLeft = nodeCount;
    if (isNode(root)) {
        do {
            FieldValue value = walkTree(pos, root);
            if (value.dist < nearest.dist) {
                nearest = value;
            }
            root = nodes[root].nextSibling;
            --rootsLeft;
        } while (isNode(root) && rootsLeft > 0);
    }
    storeMaterials(nearest);
    return nearest.dist;
}
#endif
