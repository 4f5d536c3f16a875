vec3 sampleEnvironment(vec3 dir) { return vec3(0.033, 0.036, 0.042); }
