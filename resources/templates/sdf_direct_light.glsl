vec3 evalDirectionalLight(Light light, vec3 n, vec3 v, SDFMaterial material, float shadow) {
    vec3 reflected = cookTorrance(n, v, light.direction.xyz, material.albedo.rgb,
                                  material.metallic, material.roughness);
    return reflected * light.color.rgb * light.color.a * shadow;
}

int usedLightCount() {
    return min(lightCount, 8);
}

vec3 directLight(Surface surface, vec3 v) {
    vec3 direct = vec3(0.0);
    for (int i = 0; i < usedLightCount(); ++i) {
        direct += evalDirectionalLight(lights[i], surface.normal, v, surface.material,
                                       surface.shadow);
    }
    return direct;
}

vec3 emittedLight(Surface surface) {
    return surface.material.albedo.rgb * surface.material.emission;
}
