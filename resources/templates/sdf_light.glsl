struct Light {
    vec4 direction; // xyz a unit vector towards the light
    vec4 color;     // rgb colour, a intensity
};
