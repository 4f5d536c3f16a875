float sceneSDF(vec3 p) {
    float d = handBox(p - vec3(0.0, -2.5, 0.0), vec3(3.38, 0.31, 2.38)) - 0.1;
    float wall = handBox(p - vec3(0.0, -0.4, -2.1), vec3(3.38, 2.39, 0.31)) - 0.1;
    d = handSmoothUnion(d, wall, 0.5);
    d = handSmoothUnion(d, handTorus(p - vec3(0.0, -2.09, 0.6), 1.01, 0.38), 0.5);
    d = max(d, -handCylinder(p - vec3(0.0, -2.5, 0.6), 0.61, 4.0));
    d = max(d, -handCylinder(p - vec3(-2.6, -2.5, -0.9), 0.31, 4.0));
    d = max(d, -handCylinder(p - vec3(2.6, -2.5, -0.9), 0.31, 4.0));
    d = max(d, -handCylinder(p - vec3(-2.6, -2.5, 1.7), 0.31, 4.0));
    d = max(d, -handCylinder(p - vec3(2.6, -2.5, 1.7), 0.31, 4.0));
    d = max(d, -handCylinder(vec3(p.x + 2.0, p.z + 2.1, 0.6 - p.y), 0.61, 4.0));
    d = max(d, -handCylinder(vec3(p.x - 2.0, p.z + 2.1, 0.6 - p.y), 0.61, 4.0));
    return max(d, -handBox(p - vec3(0.0, 0.6, -2.1), vec3(0.71, 0.42, 2.0)));
}
