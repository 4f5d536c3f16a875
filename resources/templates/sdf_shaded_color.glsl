// The faces of a section in the material's own colour, under lines at 45 degrees as drawings have them.
float hatching(Surface surface) {
    float along = fract((gl_FragCoord.x + gl_FragCoord.y) / 9.0);
    float line = clamp(3.0 - abs(along - 0.5) * 9.0 * 1.5, 0.0, 1.0);
    return surface.isCut ? mix(1.0, 0.55, line) : 1.0;
}

// The colour of a pixel: by default what litColor() says.
vec3 shadedColor(Surface surface) {
    switch (debugView) {
        case 1: return vec3(surface.ao);
        case 2: return surface.normal * 0.5 + 0.5;
        case 3: return vec3(1.0 - length(surface.position - cameraPos.xyz) / maxDistance);
        case 4: return debugIdColor(surface.materialNode);
        case 5: return surface.material.albedo.rgb;
        case 6: return vec3(surface.shadow);
        default: return litColor(surface) * hatching(surface);
    }
}
