float sceneSDF(vec3 p) {
    float d = handBox(p, vec3(2.98, 0.98, 2.98));
    d = max(d, -handCylinder(p - vec3(-1.51, 0.0, 0.0), 0.61, 4.0));
    d = max(d, -handCylinder(p - vec3(1.51, 0.0, -1.21), 0.61, 4.0));
    d = max(d, -handCylinder(p - vec3(1.51, 0.0, 1.21), 0.61, 4.0));
    return handSmoothUnion(d, handTorus(p - vec3(0.0, 1.21, 0.0), 2.21, 0.51), 0.3);
}
