#version 450

layout(location = 0) in vec2 vUV;
layout(location = 0) out vec4 fragColor;

layout(std140, binding = 0) uniform buf {
    mat4 mvp;             // OpenGL's convention: the depth that is written follows from it
    mat4 inv_view_matrix;
    mat4 inv_projection;  // of the device's clip space, so that it takes the device's coordinates
    vec4 camera_position;
    vec4 center_offset;   // xz where the fade has its centre
    vec4 grid_color;
    vec4 checker_color_a; // a of these: how much of it shows
    vec4 checker_color_b;
    float unit_size;      // side of a square between major lines, in scene units
    float major_line_thickness; // in pixels
    float minor_line_thickness;
    float major_line_alpha;
    float minor_line_alpha;
    float fade_start;     // distances in the plane, in scene units
    float fade_end;
    float major_subdivisions; // squares of unit_size between two major lines
    float minor_subdivisions; // minor lines in a square of unit_size
    float pad;
};

const float FARTHEST = 900.0; // along the ray, in units

// This pixel's ray. In perspective it begins in the camera, exactly: points of the far plane are too far to say where.
void pixelRay(out vec3 origin, out vec3 dir)
{
    vec4 middle = inv_projection * vec4(vUV * 2.0 - 1.0, 0.5, 1.0);
    vec4 far = inv_projection * vec4(vUV * 2.0 - 1.0, 1.0, 1.0);
    bool isParallel = middle.w == far.w;
    vec3 eye = middle.xyz / middle.w;
    dir = mat3(inv_view_matrix) * (isParallel ? vec3(0.0, 0.0, -1.0) : normalize(eye));
    origin = isParallel ? (inv_view_matrix * vec4(eye.xy, 0.0, 1.0)).xyz : camera_position.xyz;
}

// How much of a pixel lines of a period cover. Lines that are thinner than a pixel fade instead of breaking up, and
// where a period is but a few pixels they become the grey that they would be from afar.
float lines(vec2 place, float period, float thickness)
{
    vec2 cell = place / period;
    vec2 pixel = max(fwidth(cell), 1e-6);
    vec2 toLine = abs(fract(cell - 0.5) - 0.5);
    vec2 halfWidth = 0.5 * thickness * pixel;
    vec2 cover = 1.0 - smoothstep(max(halfWidth - 0.5 * pixel, 0.0), halfWidth + 0.5 * pixel, toLine);
    cover *= 1.0 - smoothstep(0.08, 0.35, pixel);
    return max(cover.x, cover.y);
}

// The mean of a checkerboard over the pixel: the integral of its square wave, taken across a box.
float checkers(vec2 place)
{
    vec2 width = max(fwidth(place), 1e-6);
    vec2 wave = 2.0 * (abs(fract((place - 0.5 * width) * 0.5) - 0.5) - abs(fract((place + 0.5 * width) * 0.5) - 0.5)) /
                width;
    return 0.5 - 0.5 * wave.x * wave.y;
}

float hashNoise(vec2 p)
{
    return fract(sin(dot(p, vec2(12.9898, 78.233))) * 43758.5453);
}

void main()
{
    vec3 origin;
    vec3 dir;
    pixelRay(origin, dir);
    float t = -origin.y / (abs(dir.y) < 0.001 ? 1.0 : dir.y);
    vec3 hit = origin + dir * t;
    float dist = length(hit.xz - center_offset.xz);
    float fadeFactor = 1.0 - clamp((dist - fade_start) / (fade_end - fade_start), 0.0, 1.0);
    // Derivatives first: they need all pixels of a square to come this far.
    float checker = checkers(hit.xz / unit_size);
    float major = major_line_alpha * lines(hit.xz, unit_size * major_subdivisions, major_line_thickness);
    float minor = minor_line_alpha * lines(hit.xz, unit_size / minor_subdivisions, minor_line_thickness);
    bool isInPlane = abs(dir.y) < 0.001 || abs(origin.y) < 1e-4 * unit_size;
    if (isInPlane || t <= 0.0 || t > FARTHEST * unit_size || fadeFactor <= 0.0) {
        discard;
    }
    vec4 ground = mix(checker_color_a, checker_color_b, checker);
    float line = max(major, minor) * grid_color.a;
    float shown = mix(ground.a, 1.0, line);
    vec3 color = mix(ground.rgb * ground.a, grid_color.rgb, line) / max(shown, 1e-4);
    float noise = (hashNoise(gl_FragCoord.xy) - 0.5) / 255.0;
    fragColor = vec4(max(color + noise * color, 0.0), clamp(shown * fadeFactor, 0.0, 1.0));
    vec4 clip = mvp * vec4(hit, 1.0);
    gl_FragDepth = clamp(clip.z / clip.w * 0.5 + 0.5, 0.0, 1.0);
}
