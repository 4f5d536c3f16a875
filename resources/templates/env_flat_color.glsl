vec3 sampleEnvironment(vec3 dir) { return envParam0.rgb; }
