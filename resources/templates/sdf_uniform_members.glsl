    mat4 mvp;
    mat4 viewMatrix;
    mat4 projMatrix;
    mat4 invViewProjMatrix;
    vec4 cameraPos;
    vec4 bounds_min; // w: how many times steeper than a distance the field may be
    vec4 bounds_max; // w: BOUNDS_HOLD_SCENE when nothing lies outside of the box
    int maxSteps;
    float maxDistance;
    float epsilon;
    int nodeCount;
    int rootNodeIndex;
    int raymarchAlgorithm;
    float stepScale;
    int debugView;
    int lightCount;
    int _lightPad0;
    int _lightPad1;
    int _lightPad2;
    Light lights[8];
    vec4 envParam0;
    vec4 envParam1;
    vec4 envParam2;
    vec4 envParam3;
    int frameIndex;
    int maxBounces;
    int maxSecondarySteps;
    float secondaryEpsilon;
