// {{include sdf_light.glsl}}

// Matrices are in the OpenGL convention on every device: y up, z from -1 to 1.
layout(std140, binding = 0) uniform buf {
// {{include sdf_uniform_members.glsl}}
};
