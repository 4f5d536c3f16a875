vec3 sampleEnvironment(vec3 dir) {
    return mix(vec3(0.12), vec3(0.75), step(vec3(0.0), dir));
}
