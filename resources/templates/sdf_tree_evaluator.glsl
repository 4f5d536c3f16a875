// ============= Tree-Based Scene Evaluation with Material Tracking =============
// A walk along the links of the nodes, since there is no recursion: down by firstChild, on by
// nextSibling, up by parentIndex. Two things must be remembered while a subtree is visited: the
// value that an operator's earlier children gave, and the position before a transform. Both nest as
// the nodes do and share one stack; modifiers need none, for the position is theirs again when the
// walk comes back. Any number of children and roots is fine. WalkDepth.h tells how many entries a
// scene needs; what lies deeper than MAX_STACK_DEPTH is left out, and the walk ends in any case.
//
// Which node comes next follows from the nodes alone, never from the point: it is one and the same
// for all points that a device evaluates together, so that reading a node is one load for all of
// them. The loops test at their end, because a device may run a body once more with nothing left
// to do where they test at the start.

const int MAX_STACK_DEPTH = 32;

// An operator's value so far, or a position.
vec4 g_stack[MAX_STACK_DEPTH];

// Inflation and shell of a primitive.
float finishedPrimitive(int nodeIndex, float dist) {
    dist += nodes[nodeIndex].densityScale - 1.0;
    if (nodes[nodeIndex].shellThickness > 0.0) {
        dist = abs(dist) - nodes[nodeIndex].shellThickness;
    }
    return dist;
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

// The value so far of an operator, with one more child.
FieldValue foldedValue(int nodeIndex, FieldValue operand, FieldValue accumulated) {
    float dist = applyCsgOperator(nodes[nodeIndex].definitionIndex, nodes[nodeIndex].operationType,
                                  operand.dist, accumulated.dist, nodes[nodeIndex].smoothRadius,
                                  nodes[nodeIndex].params, nodes[nodeIndex].params2);
    return mixedValue(dist, materialShare(nodeIndex, operand.dist, accumulated.dist), operand,
                      accumulated);
}

float evaluateNodePrimitive(int nodeIndex, vec3 pos) {
    vec3 localPos = (nodes[nodeIndex].invTransform * vec4(pos, 1.0)).xyz;
    float dist = evaluatePrimitiveByDefinition(nodes[nodeIndex].definitionIndex, localPos,
                                               nodes[nodeIndex].params, nodes[nodeIndex].params2);
    return finishedPrimitive(nodeIndex, dist);
}

float modifiedDistance(int nodeIndex, vec3 pos, float dist) {
    if (nodes[nodeIndex].nodeType == NODE_DIST_MODIFIER) {
        return applyDistanceModifier(nodes[nodeIndex].definitionIndex, dist,
                                     nodes[nodeIndex].params, nodes[nodeIndex].params2);
    }
    return applyPositionAwareModifier(nodes[nodeIndex].definitionIndex, pos, dist,
                                      nodes[nodeIndex].params, nodes[nodeIndex].params2);
}

bool isNode(int index) {
    return index >= 0 && index < nodeCount;
}

// Node numbers are exact in a float far beyond the length of any node array.
vec4 packedValue(FieldValue value) {
    return vec4(value.dist, float(value.material), float(value.secondary), value.blend);
}

FieldValue unpackedValue(vec4 entry) {
    return FieldValue(entry.x, int(entry.y), int(entry.z), entry.w);
}

// The node below which to go on, -1 at the end of a branch: a primitive, a node without children,
// or a transform whose position has no place on the stack.
int nodeBelow(int node, int stackTop) {
    uint type = nodes[node].nodeType;
    int child = nodes[node].firstChild;
    bool stackIsFull = type == NODE_POS_TRANSFORM && stackTop >= MAX_STACK_DEPTH;
    return type == NODE_PRIMITIVE || stackIsFull || !isNode(child) ? -1 : child;
}

FieldValue valueAtEnd(int node, vec3 pos) {
    if (nodes[node].nodeType != NODE_PRIMITIVE) {
        return noValue();
    }
    return FieldValue(evaluateNodePrimitive(node, pos), node, -1, 0.0);
}

FieldValue walkTree(vec3 worldPos, int startNode) {
    FieldValue value = noValue();
    vec3 pos = worldPos;
    int node = startNode;
    int stackTop = 0;
    int endsLeft = nodeCount; // a branch end is reached once
    bool isDone = false;
    do {
        int below = nodeBelow(node, stackTop);
        if (below >= 0) {
            do {
                if (nodes[node].nodeType == NODE_POS_TRANSFORM) {
                    g_stack[stackTop] = vec4(pos, 0.0);
                    ++stackTop;
                    pos = applyPositionTransform(nodes[node].definitionIndex, pos,
                                                 nodes[node].params, nodes[node].params2);
                }
                node = below;
                below = nodeBelow(node, stackTop);
            } while (below >= 0);
        }

        value = valueAtEnd(node, pos);

        isDone = node == startNode;
        if (!isDone) {
            bool goesUp = true;
            do {
                int parent = nodes[node].parentIndex;
                if (!isNode(parent)) {
                    return noValue(); // links that are no tree
                }
                uint type = nodes[parent].nodeType;
                int next = -1;
                if (type == NODE_POS_TRANSFORM) {
                    stackTop = max(stackTop - 1, 0);
                    pos = g_stack[stackTop].xyz;
                } else if (type == NODE_CSG_OP) {
                    if (node != nodes[parent].firstChild) {
                        stackTop = max(stackTop - 1, 0);
                        value = foldedValue(parent, value, unpackedValue(g_stack[stackTop]));
                    }
                    next = nodes[node].nextSibling;
                } else {
                    value.dist = modifiedDistance(parent, pos, value.dist);
                }
                bool goesOn = isNode(next) && stackTop < MAX_STACK_DEPTH;
                if (goesOn) {
                    g_stack[stackTop] = packedValue(value);
                    ++stackTop;
                }
                node = goesOn ? next : parent;
                isDone = !goesOn && node == startNode;
                goesUp = !goesOn && !isDone;
            } while (goesUp);
        }
        --endsLeft;
    } while (!isDone && endsLeft > 0);
    return value;
}

// The distance at a point, by the tree below one node; its materials are in the globals then.
float evaluateSceneTree(vec3 worldPos, int startNode) {
    FieldValue value = noValue();
    if (isNode(startNode)) {
        value = walkTree(worldPos, startNode);
    }
    storeMaterials(value);
    return value.dist;
}
