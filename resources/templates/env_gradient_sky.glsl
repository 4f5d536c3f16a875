vec3 sampleEnvironment(vec3 dir) { return mix(envParam0.rgb, envParam1.rgb, max(dir.y, 0.0)); }
