// envParam0: direction to the sun and its intensity; envParam1: turbidity, albedo of the ground.
vec3 sampleEnvironment(vec3 dir) {
    vec3 sunDir = envParam0.xyz;
    float sunInt = envParam0.w;
    float turbidity = max(envParam1.x, 1.0);
    float groundAlbedo = envParam1.y;

    float height = max(dir.y, 0.0);
    vec3 blue = vec3(0.18, 0.35, 0.65);
    vec3 haze = vec3(0.7, 0.75, 0.8);
    float t = 1.0 - exp(-4.0 * height);
    vec3 sky = mix(haze, blue, t);
    float hazeAmount = clamp((turbidity - 1.0) / 9.0, 0.0, 1.0);
    sky = mix(sky, haze, hazeAmount * (1.0 - height));

    float glow = pow(max(dot(dir, sunDir), 0.0), 128.0 / turbidity)
                 * smoothstep(-0.01, 0.05, dir.y);
    float sunset = 1.0 - clamp(sunDir.y * 3.0, 0.0, 1.0);
    sky = mix(sky, mix(sky, vec3(1.0, 0.4, 0.1), 0.4), sunset * (1.0 - height));
    vec3 sunColor = mix(vec3(1.0, 0.9, 0.7), vec3(1.0, 0.3, 0.05), sunset);

    float ambient = sunInt * 0.15;
    vec3 result = sky * ambient + sunColor * glow * sunInt * 0.5;
    // 1 - smoothstep with its edges in order: exchanged edges are undefined in GLSL.
    float mask = 1.0 - smoothstep(-0.02, 0.02, dir.y);
    return mix(result, groundAlbedo * sky * ambient * 0.5, mask);
}
