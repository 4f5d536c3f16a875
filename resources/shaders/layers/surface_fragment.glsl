// What both fragment stages of a layer of triangles do: cut, and find which way the surface faces.
layout(location = 0) in vec3 vWorldPos;
layout(location = 1) in vec3 vModelPos;
layout(location = 2) in vec3 vNormal;
layout(location = 3) in vec4 vColor;

// The faces that close a cut have no alpha: they lie in the plane, and are not cut by it.
bool cutTest()
{
    return cutPlane.w > 0.5 && vColor.a > 0.5 && dot(vModelPos - cutPlanePoint.xyz, cutPlane.xyz) > 0.0;
}

// Meshes come with any winding, so that the side that is seen is lit. Which side that is says the triangle itself:
// at a rim the smooth normal alone may point away.
vec3 facingNormal()
{
    vec3 face = cross(dFdx(vWorldPos), dFdy(vWorldPos));
    face = dot(face, cameraPos.xyz - vWorldPos) < 0.0 ? -face : face;
    float size = length(vNormal);
    vec3 n = size > 0.0 ? vNormal / size : normalize(face);
    return dot(n, face) < 0.0 ? -n : n;
}

vec3 surfaceAlbedo()
{
    return mix(albedo.rgb, vColor.rgb, useVertexColor);
}
