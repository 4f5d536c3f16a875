// The colour of a pixel: by default what litColor() says.
vec3 shadedColor(Surface surface) {
    switch (debugView) {
        case 1: return vec3(surface.ao);
        case 2: return surface.normal * 0.5 + 0.5;
        case 3: return vec3(1.0 - length(surface.position - cameraPos.xyz) / maxDistance);
        case 4: return debugIdColor(surface.materialNode);
        case 5: return surface.material.albedo.rgb;
        case 6: return vec3(surface.shadow);
        default: return litColor(surface);
    }
}
