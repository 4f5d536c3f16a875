// AgX, Sobotka 2022, in the minimal form of Wrensch 2023: the inset matrix, log2 over 16.5 stops, a polynomial of
// sixth degree for the default contrast, the outset matrix and a display of gamma 2.2.
const mat3 AGX_INSET = mat3(0.842479062253094, 0.0423282422610123, 0.0423756549057051,
                            0.0784335999999992, 0.878468636469772, 0.0784336,
                            0.0792237451477643, 0.0791661274605434, 0.879142973793104);
const mat3 AGX_OUTSET = mat3(1.19687900512017, -0.0528968517574562, -0.0529716355144438,
                             -0.0980208811401368, 1.15190312990417, -0.0980434501171241,
                             -0.0990297440797205, -0.0989611768448433, 1.15107367264116);
const float AGX_MIN_EV = -12.47393;
const float AGX_MAX_EV = 4.026069;

vec3 agxContrast(vec3 x)
{
    vec3 x2 = x * x;
    vec3 x4 = x2 * x2;
    return 15.5 * x4 * x2 - 40.14 * x4 * x + 31.96 * x4 - 6.868 * x2 * x + 0.4298 * x2 + 0.1191 * x - 0.00232;
}

vec3 agxEncoded(vec3 light)
{
    vec3 stops = clamp(log2(max(AGX_INSET * light, 1e-10)), AGX_MIN_EV, AGX_MAX_EV);
    return agxContrast((stops - AGX_MIN_EV) / (AGX_MAX_EV - AGX_MIN_EV));
}

// Slope, power and saturation, as a colour decision list has them. The polynomial dips below 0 near black.
vec3 agxLook(vec3 encoded, vec3 slope, float power, float saturation)
{
    vec3 graded = pow(max(encoded * slope, 0.0), vec3(power));
    float luminance = dot(graded, LUMINANCE);
    return luminance + saturation * (graded - luminance);
}

vec3 agxDisplayed(vec3 encoded)
{
    return pow(max(AGX_OUTSET * encoded, 0.0), vec3(2.2));
}
