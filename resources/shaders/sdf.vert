#version 450

// The full-screen quad of the passes of a scene, and the ray through each pixel. The position is in
// the device's own coordinates; those of the picture, y up on every device, are in uv.

layout(location = 0) in vec3 position;
layout(location = 1) in vec2 uv;
layout(location = 0) out vec2 v_uv;
layout(location = 1) out vec3 v_rayDir; // not normalised: so it is exact between the corners
layout(location = 2) out vec3 v_rayOrigin;

// The first members of the block of the scene shaders.
layout(std140, binding = 0) uniform buf {
    mat4 mvp;
    mat4 viewMatrix;
    mat4 projMatrix;
};

void main() {
    mat4 fromClip = inverse(projMatrix);
    mat4 fromEye = inverse(viewMatrix);
    vec2 ndc = uv * 2.0 - 1.0;
    vec4 near = fromClip * vec4(ndc, -1.0, 1.0);
    vec4 far = fromClip * vec4(ndc, 1.0, 1.0);
    // The difference of the two points, times both w: a far plane at infinity has none to divide by.
    vec3 direction = far.xyz * near.w - near.xyz * far.w;
    v_uv = uv;
    v_rayOrigin = (fromEye * vec4(near.xyz / near.w, 1.0)).xyz;
    v_rayDir = mat3(fromEye) * direction;
    gl_Position = vec4(position.xy, 0.0, 1.0);
}
