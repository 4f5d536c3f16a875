struct Light {
    vec4 direction; // xyz a unit vector towards the light
    vec4 color;     // rgb colour, a intensity
};

layout(std140, binding = 0) uniform buf {
    mat4 mvp;
    mat4 viewMatrix;
    mat4 projMatrix;
    mat4 invViewProjMatrix;
    vec4 cameraPos;
    vec4 bounds_min;
    vec4 bounds_max;
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
};
