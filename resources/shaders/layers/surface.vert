#version 450
#extension GL_GOOGLE_include_directive : enable
#include "surface_item.glsl"

layout(location = 0) in vec3 position;
layout(location = 1) in vec3 normal;
layout(location = 2) in vec4 color;

layout(location = 0) out vec3 vWorldPos;
layout(location = 1) out vec3 vModelPos;
layout(location = 2) out vec3 vNormal;
layout(location = 3) out vec4 vColor;

out gl_PerVertex { vec4 gl_Position; };

void main()
{
    vec4 place = vec4(position, 1.0);
    vWorldPos = (model * place).xyz;
    vModelPos = position;
    vNormal = mat3(normalMatrix) * normal;
    vColor = color;
    gl_Position = mvp * place;
}
