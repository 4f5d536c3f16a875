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

// The state of the walk: what is still to be visited, and what stands so far.
StackEntry g_stack[MAX_STACK_DEPTH];
int g_stackTop = 0;
float g_result = 1e10;
int g_resultMaterial = -1;

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

// Past the depth of the stack an entry is dropped: the walk ends in any case.
void pushEntry(StackEntry entry) {
    if (g_stackTop < MAX_STACK_DEPTH) {
        g_stack[g_stackTop++] = entry;
    }
}

void forgetResult() {
    g_result = NO_VALUE;
    g_resultMaterial = -1;
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

void visitPrimitive(StackEntry entry) {
    float d = evaluateNodePrimitive(entry.nodeIndex, entry.position);
    float accum = entry.inheritAccum ? g_result : entry.accumDistance;
    int accumMaterial = entry.inheritAccum ? g_resultMaterial : entry.accumMaterialNode;
    if (accum < HAS_VALUE_BELOW) {
        float newDist = applyCsgOp(entry.pendingOp, d, accum, entry.smoothRadius);
        float blend = applyCsgBlend(entry.pendingCsgIndex, d, accum, entry.smoothRadius);
        g_resultMaterial = foldMaterial(blend, entry.nodeIndex, accumMaterial);
        g_result = newDist;
    } else {
        g_result = d;
        g_resultMaterial = entry.nodeIndex;
    }
}

// The first child takes what the operator was to fold into, each later one folds into the result.
StackEntry childEntry(StackEntry entry, int child, bool first) {
    int index = entry.nodeIndex;
    StackEntry next = freshEntry(child, entry.position);
    next.smoothRadius = nodes[index].smoothRadius;
    if (first) {
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
    return next;
}

void visitOperator(StackEntry entry) {
    int child = nodes[entry.nodeIndex].firstChild;
    if (child < 0) {
        forgetResult();
        return;
    }
    int children[MAX_CSG_CHILDREN];
    int count = 0;
    while (child >= 0 && child < nodeCount && count < MAX_CSG_CHILDREN) {
        children[count++] = child;
        child = nodes[child].nextSibling;
    }
    // In reverse, so that the first child is popped first.
    for (int i = count - 1; i >= 0; --i) {
        pushEntry(childEntry(entry, children[i], i == 0));
    }
}

void visitTransform(StackEntry entry) {
    int index = entry.nodeIndex;
    if (nodes[index].firstChild < 0) {
        forgetResult();
        return;
    }
    StackEntry next = entry;
    next.nodeIndex = nodes[index].firstChild;
    next.position = applyPositionTransform(nodes[index].definitionIndex, entry.position,
                                           nodes[index].params, nodes[index].params2);
    pushEntry(next);
}

float modifiedDistance(int index, vec3 position, float dist) {
    if (nodes[index].nodeType == NODE_DIST_MODIFIER) {
        return applyDistanceModifier(nodes[index].definitionIndex, dist, nodes[index].params,
                                     nodes[index].params2);
    }
    return applyPositionAwareModifier(nodes[index].definitionIndex, position, dist,
                                      nodes[index].params, nodes[index].params2);
}

// Twice: before its child, which starts from nothing, and after it, when the result is the child's.
void visitModifier(StackEntry entry) {
    int index = entry.nodeIndex;
    if (entry.phase == 0) {
        if (nodes[index].firstChild < 0) {
            forgetResult();
            return;
        }
        StackEntry again = entry;
        again.phase = 1;
        pushEntry(again);
        pushEntry(freshEntry(nodes[index].firstChild, entry.position));
        return;
    }
    float modified = modifiedDistance(index, entry.position, g_result);
    if (entry.accumDistance < HAS_VALUE_BELOW) {
        float blend = applyCsgBlend(entry.pendingCsgIndex, modified, entry.accumDistance,
                                    entry.smoothRadius);
        g_result = applyCsgOp(entry.pendingOp, modified, entry.accumDistance, entry.smoothRadius);
        g_resultMaterial = foldMaterial(blend, g_resultMaterial, entry.accumMaterialNode);
    } else {
        g_result = modified;
    }
}

void visitNode(StackEntry entry) {
    uint type = nodes[entry.nodeIndex].nodeType;
    if (type == NODE_PRIMITIVE) {
        visitPrimitive(entry);
    } else if (type == NODE_CSG_OP) {
        visitOperator(entry);
    } else if (type == NODE_POS_TRANSFORM) {
        visitTransform(entry);
    } else if (type == NODE_DIST_MODIFIER || type == NODE_POS_AWARE_MOD) {
        visitModifier(entry);
    }
}

float evaluateSceneTree(vec3 worldPos, int startNode) {
    if (nodeCount == 0 || startNode < 0 || startNode >= nodeCount) {
        return NO_VALUE;
    }
    g_resultMaterialNode = -1;
    g_resultSecondaryMaterial = -1;
    g_resultBlendFactor = 0.0;
    g_stackTop = 0;
    forgetResult();

    pushEntry(freshEntry(startNode, worldPos));
    while (g_stackTop > 0) {
        StackEntry entry = g_stack[--g_stackTop];
        if (entry.nodeIndex >= 0 && entry.nodeIndex < nodeCount) {
            visitNode(entry);
        }
    }
    g_resultMaterialNode = g_resultMaterial;
    return g_result;
}
