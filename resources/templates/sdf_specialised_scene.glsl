#define SPECIALISED_SCENE

// {{include sdf_field_value.glsl}}

// By the rows of an inverse world matrix.
vec3 placedPosition(vec3 pos, vec4 rowX, vec4 rowY, vec4 rowZ) {
    vec4 p = vec4(pos, 1.0);
    return vec3(dot(rowX, p), dot(rowY, p), dot(rowZ, p));
}
