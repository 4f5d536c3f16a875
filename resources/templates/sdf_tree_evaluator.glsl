// ============= Tree-Based Scene Evaluation with Material Tracking =============
// A stack machine, since there is no recursion. 1e10 stands for no value yet, tested as < 1e9.

const int MAX_STACK_DEPTH = 32;
const int MAX_CSG_CHILDREN = 16;
const float NO_VALUE = 1e10;
const float HAS_VALUE_BELOW = 1e9;

struct StackEntry {
    int nodeIndex;
    vec3 position;
    float accumDistance;
    uint pendingOp;
    float smoothRadius;
    int phase;
    int accumMaterialNode;
    uint pendingCsgIndex;
    bool inheritAccum; // folds into whatever result stands when popped
};

int g_resultMaterialNode = -1;
int g_resultSecondaryMaterial = -1;
float g_resultBlendFactor = 0.0;

float evaluateNodePrimitive(int nodeIndex, vec3 pos) {
    vec3 localPos = (nodes[nodeIndex].invTransform * vec4(pos, 1.0)).xyz;
    float dist = evaluatePrimitiveByDefinition(nodes[nodeIndex].definitionIndex, localPos,
                                               nodes[nodeIndex].params, nodes[nodeIndex].params2);
    dist += nodes[nodeIndex].densityScale - 1.0;
    if (nodes[nodeIndex].shellThickness > 0.0) {
        dist = abs(dist) - nodes[nodeIndex].shellThickness;
    }
    return dist;
}

StackEntry freshEntry(int nodeIndex, vec3 position) {
    StackEntry entry;
    entry.nodeIndex = nodeIndex;
    entry.position = position;
    entry.accumDistance = NO_VALUE;
    entry.pendingOp = 3u;
    entry.smoothRadius = 0.1;
    entry.phase = 0;
    entry.accumMaterialNode = -1;
    entry.pendingCsgIndex = 0u;
    entry.inheritAccum = false;
    return entry;
}

// The material of a fold: `current` below, `accumulated` above, both in between.
int foldMaterial(float blend, int current, int accumulated) {
    if (blend < 0.001) {
        return current;
    }
    if (blend > 0.999) {
        return accumulated;
    }
    g_resultSecondaryMaterial = accumulated;
    g_resultBlendFactor = blend;
    return current;
}

float evaluateSceneTree(vec3 worldPos, int startNode) {
    if (nodeCount == 0 || startNode < 0 || startNode >= nodeCount) {
        return NO_VALUE;
    }
    g_resultMaterialNode = -1;
    g_resultSecondaryMaterial = -1;
    g_resultBlendFactor = 0.0;

    float result = NO_VALUE;
    int resultMaterial = -1;

    StackEntry stack[MAX_STACK_DEPTH];
    int stackTop = 0;
    stack[stackTop++] = freshEntry(startNode, worldPos);

    while (stackTop > 0) {
        StackEntry entry = stack[--stackTop];
        int index = entry.nodeIndex;
        if (index < 0 || index >= nodeCount) {
            continue;
        }
        uint type = nodes[index].nodeType;

        if (type == NODE_PRIMITIVE) {
            float d = evaluateNodePrimitive(index, entry.position);
            float accum = entry.inheritAccum ? result : entry.accumDistance;
            int accumMaterial = entry.inheritAccum ? resultMaterial : entry.accumMaterialNode;
            if (accum < HAS_VALUE_BELOW) {
                float newDist = applyCsgOp(entry.pendingOp, d, accum, entry.smoothRadius);
                float blend = applyCsgBlend(entry.pendingCsgIndex, d, accum, entry.smoothRadius);
                resultMaterial = foldMaterial(blend, index, accumMaterial);
                result = newDist;
            } else {
                result = d;
                resultMaterial = index;
            }
        } else if (type == NODE_CSG_OP) {
            int firstChild = nodes[index].firstChild;
            if (firstChild < 0) {
                result = NO_VALUE;
                resultMaterial = -1;
                continue;
            }
            int children[MAX_CSG_CHILDREN];
            int count = 0;
            int child = firstChild;
            while (child >= 0 && child < nodeCount && count < MAX_CSG_CHILDREN) {
                children[count++] = child;
                child = nodes[child].nextSibling;
            }
            // In reverse, so that the first child is popped first.
            for (int i = count - 1; i >= 0; --i) {
                if (stackTop >= MAX_STACK_DEPTH) {
                    break;
                }
                StackEntry next = freshEntry(children[i], entry.position);
                next.smoothRadius = nodes[index].smoothRadius;
                if (i == 0) {
                    next.accumDistance = entry.accumDistance;
                    next.pendingOp = entry.pendingOp;
                    next.accumMaterialNode = entry.accumMaterialNode;
                    next.pendingCsgIndex = entry.pendingCsgIndex;
                } else {
                    next.accumDistance = 0.0;
                    next.pendingOp = nodes[index].operationType;
                    next.pendingCsgIndex = nodes[index].definitionIndex;
                    next.inheritAccum = true;
                }
                stack[stackTop++] = next;
            }
        } else if (type == NODE_POS_TRANSFORM) {
            int child = nodes[index].firstChild;
            if (child < 0) {
                result = NO_VALUE;
                resultMaterial = -1;
                continue;
            }
            StackEntry next = entry;
            next.nodeIndex = child;
            next.position = applyPositionTransform(nodes[index].definitionIndex, entry.position,
                                                   nodes[index].params, nodes[index].params2);
            stack[stackTop++] = next;
        } else if (type == NODE_DIST_MODIFIER || type == NODE_POS_AWARE_MOD) {
            if (entry.phase == 0) {
                int child = nodes[index].firstChild;
                if (child < 0) {
                    result = NO_VALUE;
                    resultMaterial = -1;
                    continue;
                }
                StackEntry again = entry;
                again.phase = 1;
                stack[stackTop++] = again;
                if (stackTop < MAX_STACK_DEPTH) {
                    stack[stackTop++] = freshEntry(child, entry.position);
                }
                continue;
            }
            float modified;
            if (type == NODE_DIST_MODIFIER) {
                modified = applyDistanceModifier(nodes[index].definitionIndex, result,
                                                 nodes[index].params, nodes[index].params2);
            } else {
                modified = applyPositionAwareModifier(nodes[index].definitionIndex, entry.position,
                                                      result, nodes[index].params,
                                                      nodes[index].params2);
            }
            if (entry.accumDistance < HAS_VALUE_BELOW) {
                float blend = applyCsgBlend(entry.pendingCsgIndex, modified, entry.accumDistance,
                                            entry.smoothRadius);
                result = applyCsgOp(entry.pendingOp, modified, entry.accumDistance,
                                    entry.smoothRadius);
                resultMaterial = foldMaterial(blend, resultMaterial, entry.accumMaterialNode);
            } else {
                result = modified;
            }
        }
    }

    g_resultMaterialNode = resultMaterial;
    return result;
}
