// What GLSL leaves undefined or leaves to the driver, so that a field has the same value on every
// device and on the processor. Each part is taken into a shader that calls it; a part calls only
// those above it. A line "// {{names}}" begins a part and lists what stands in it.

// {{evalIsSpent}}
// The rounds of loops without an evident end: of one loop, and of all together for one point, which
// is what keeps a field from holding the device for ever. Some drivers leave a loop by themselves
// after 65,535 rounds. A point whose rounds are used up has no value.
int evalRounds = 0;
bool evalIsSpent(inout int rounds)
{
    ++rounds;
    evalRounds += rounds > 65000 ? 1048577 : 1;
    return evalRounds > 1048576;
}

// {{evalInt}}
// Cut towards zero and wrapped to 32 bits; 0 for what has no integer of 64 bits.
int evalInt(float v)
{
    if (abs(v) < 2147483648.0)
        return int(v);
    if (!(abs(v) < 9223372036854775808.0))
        return 0;
    return int(uint(v - 4294967296.0 * floor(v / 4294967296.0)));
}

// {{evalUint}}
uint evalUint(float v)
{
    return uint(evalInt(v));
}

// {{evalOrder}}
// Below, equal or above 0, as an int is to a uint.
int evalOrder(int a, uint b)
{
    return a < 0 || uint(a) < b ? -1 : (uint(a) == b ? 0 : 1);
}
int evalOrder(uint a, int b)
{
    return b < 0 || a > uint(b) ? 1 : (a == uint(b) ? 0 : -1);
}

// {{evalDivide}}
int evalDivide(int a, int b)
{
    return b == 0 ? 0 : (b == -1 ? 0 - a : a / b);
}
uint evalDivide(uint a, uint b)
{
    return b == 0u ? 0u : a / b;
}

// {{evalRemainder}}
// With the sign of the dividend, which GLSL leaves open.
int evalRemainder(int a, int b)
{
    return b == 0 || b == -1 ? 0 : a - b * (a / b);
}
uint evalRemainder(uint a, uint b)
{
    return b == 0u ? 0u : a % b;
}

// {{evalWithin}}
// An index, or -1 where it is none of `count`.
int evalWithin(int index, int count)
{
    return index >= 0 && index < count ? index : -1;
}

// {{evalMin}}
// What is compared with no number stays.
float evalMin(float a, float b)
{
    return b < a ? b : a;
}
vec2 evalMin(vec2 a, vec2 b)
{
    return mix(a, b, lessThan(b, a));
}
vec3 evalMin(vec3 a, vec3 b)
{
    return mix(a, b, lessThan(b, a));
}
vec4 evalMin(vec4 a, vec4 b)
{
    return mix(a, b, lessThan(b, a));
}

// {{evalMax}}
float evalMax(float a, float b)
{
    return a < b ? b : a;
}
vec2 evalMax(vec2 a, vec2 b)
{
    return mix(a, b, lessThan(a, b));
}
vec3 evalMax(vec3 a, vec3 b)
{
    return mix(a, b, lessThan(a, b));
}
vec4 evalMax(vec4 a, vec4 b)
{
    return mix(a, b, lessThan(a, b));
}

// {{evalFma}}
float evalFma(float a, float b, float c)
{
    return a * b + c;
}

// {{evalRound}}
// Away from zero on halves.
float evalRound(float x)
{
    float whole = trunc(x);
    return abs(x - whole) >= 0.5 ? whole + sign(x) : whole;
}

// {{evalSmoothstep}}
// Also with the edges the other way round.
float evalSmoothstep(float e0, float e1, float x)
{
    float t = (x - e0) / (e1 - e0);
    t = t > 0.0 ? t : 0.0;
    t = t < 1.0 ? t : 1.0;
    return t * t * (3.0 - 2.0 * t);
}

// {{evalPow}}
// Of a negative base too, where the exponent is whole.
float evalPow(float x, float y)
{
    if (y == 0.0 || x == 1.0)
        return 1.0;
    if (x > 0.0)
        return pow(x, y);
    bool isOdd = y == floor(y) && fract(y * 0.5) != 0.0;
    if (x == 0.0)
        return y > 0.0 ? 0.0 : uintBitsToFloat(0x7f800000u);
    if (y != floor(y))
        return uintBitsToFloat(0x7fc00000u);
    float size = pow(-x, y);
    return isOdd ? -size : size;
}

// {{evalSin evalCos evalTan}}
// The sine of x and `turn` right angles more (Moshier's Cephes: Cody and Waite's reduction by three
// parts of pi / 2, then polynomials). Drivers may be off by a two-thousandth, which on a large part
// is to be seen.
float evalSine(float x, int turn)
{
    float q = floor(x * 0.636619772 + 0.5);
    float r = ((x - q * 1.5703125) - q * 4.837512969970703125e-4) - q * 7.54978995489188216e-8;
    float z = r * r;
    float s = r + r * z * (-1.6666654611e-1 + z * (8.3321608736e-3 + z * -1.9515295891e-4));
    float c = 1.0 - 0.5 * z +
              z * z * (4.166664568298827e-2 + z * (-1.388731625493765e-3 + z * 2.443315711809948e-5));
    int quadrant = int(q) + turn;
    float v = (quadrant & 1) == 0 ? s : c;
    return (quadrant & 2) == 0 ? v : -v;
}
float evalSin(float x)
{
    return evalSine(x, 0);
}
float evalCos(float x)
{
    return evalSine(x, 1);
}
float evalTan(float x)
{
    return evalSine(x, 0) / evalSine(x, 1);
}

// {{evalAsin evalAcos}}
// Moshier's Cephes, good to two units in the last place.
float evalAsinNearZero(float x)
{
    float z = x * x;
    return x + x * z * (1.6666752422e-1 + z * (7.4953002686e-2 + z * (4.5470025998e-2 +
               z * (2.4181311049e-2 + z * 4.2163199048e-2))));
}
float evalAcos(float x)
{
    if (abs(x) <= 0.5)
        return 1.57079632679 - evalAsinNearZero(x);
    if (!(abs(x) <= 1.0))
        return uintBitsToFloat(0x7fc00000u);
    float rest = 2.0 * evalAsinNearZero(sqrt(0.5 * (1.0 - abs(x))));
    return x > 0.0 ? rest : 3.14159265359 - rest;
}
float evalAsin(float x)
{
    return abs(x) <= 0.5 ? evalAsinNearZero(x)
                         : sign(x) * (1.57079632679 - evalAcos(abs(x)));
}

// {{evalArc evalAtan}}
// Moshier's Cephes. The angle of (0, 0) is 0, or pi where x is a negative zero.
float evalArcOfPart(float x)
{
    bool isFar = x > 0.4142135623730950;
    float y = isFar ? (x - 1.0) / (x + 1.0) : x;
    float z = y * y;
    float part = y + y * z * (-3.33329491539e-1 + z * (1.99777106478e-1 +
                         z * (-1.38776856032e-1 + z * 8.05374449538e-2)));
    return isFar ? 0.785398163397 + part : part;
}
float evalArc(float x)
{
    float a = abs(x);
    float angle = a > 1.0 ? 1.57079632679 - evalArcOfPart(1.0 / a) : evalArcOfPart(a);
    return x < 0.0 ? -angle : angle;
}
float evalAtan(float y, float x)
{
    float ax = abs(x);
    float ay = abs(y);
    float angle = ay > ax ? 1.57079632679 - evalArcOfPart(ax / ay)
                          : (ay == 0.0 ? 0.0 : evalArcOfPart(ay / ax));
    angle = floatBitsToInt(x) < 0 ? 3.14159265359 - angle : angle;
    return floatBitsToInt(y) < 0 ? -angle : angle;
}

// {{evalAsinh evalAcosh evalAtanh}}
// Not every shading language has these. The polynomials near zero are Moshier's.
float evalAsinh(float x)
{
    float a = abs(x);
    float z = x * x;
    if (a < 0.5)
        return x + x * z * (-1.6666288134e-1 + z * (7.4847586088e-2 + z * (-4.2699340972e-2 +
                   z * 2.0122003309e-2)));
    float size = a > 1.0e9 ? log(a) + 0.69314718056 : log(a + sqrt(z + 1.0));
    return x < 0.0 ? -size : size;
}
float evalAcosh(float x)
{
    if (!(x >= 1.0))
        return uintBitsToFloat(0x7fc00000u);
    return x > 1.0e9 ? log(x) + 0.69314718056 : log(x + sqrt((x - 1.0) * (x + 1.0)));
}
float evalAtanh(float x)
{
    float z = x * x;
    if (abs(x) < 0.5)
        return x + x * z * (3.33337300303e-1 + z * (1.99782164500e-1 + z * (1.46691431730e-1 +
                   z * (8.24370301058e-2 + z * 1.81740078349e-1))));
    return 0.5 * log((1.0 + x) / (1.0 - x));
}

// {{evalNormalize}}
// A zero vector stays as it is.
float evalNormalize(float v)
{
    return v == 0.0 ? v : v / abs(v);
}
vec2 evalNormalize(vec2 v)
{
    float size = length(v);
    return size == 0.0 ? v : v / size;
}
vec3 evalNormalize(vec3 v)
{
    float size = length(v);
    return size == 0.0 ? v : v / size;
}
vec4 evalNormalize(vec4 v)
{
    float size = length(v);
    return size == 0.0 ? v : v / size;
}

// {{evalInverse}}
// A singular matrix stays as it is.
mat2 evalInverse(mat2 m)
{
    return determinant(m) == 0.0 ? m : inverse(m);
}
mat3 evalInverse(mat3 m)
{
    return determinant(m) == 0.0 ? m : inverse(m);
}
mat4 evalInverse(mat4 m)
{
    return determinant(m) == 0.0 ? m : inverse(m);
}

// {{evalBitfieldExtract evalBitfieldInsert}}
// Without a sign; a field that is none has no bits.
bool evalIsField(int offset, int count)
{
    return count > 0 && offset >= 0 && offset <= 32 && count <= 32 - offset;
}
uint evalMask(int count)
{
    return count == 32 ? 0xffffffffu : (1u << uint(count)) - 1u;
}
uint evalBitfieldExtract(uint bits, int offset, int count)
{
    return evalIsField(offset, count) ? (bits >> uint(offset)) & evalMask(count) : 0u;
}
uint evalBitfieldInsert(uint bits, uint inserted, int offset, int count)
{
    if (!evalIsField(offset, count))
        return bits;
    uint mask = evalMask(count) << uint(offset);
    return (bits & ~mask) | ((inserted << uint(offset)) & mask);
}

// {{evalPackUnorm2x16 evalPackSnorm2x16 evalPackUnorm4x8 evalPackSnorm4x8}}
// Normalised integers in one word, low lane first; no number packs as the lowest value.
uint evalPackLane(float x, float low, float scale, int bits, int place)
{
    float raised = x > low ? x : low;
    float scaled = (raised < 1.0 ? raised : 1.0) * scale;
    int whole = int(scaled < 0.0 ? ceil(scaled - 0.5) : floor(scaled + 0.5));
    return (uint(whole) & ((1u << uint(bits)) - 1u)) << uint(place * bits);
}
uint evalPackUnorm2x16(float x, float y)
{
    return evalPackLane(x, 0.0, 65535.0, 16, 0) | evalPackLane(y, 0.0, 65535.0, 16, 1);
}
uint evalPackSnorm2x16(float x, float y)
{
    return evalPackLane(x, -1.0, 32767.0, 16, 0) | evalPackLane(y, -1.0, 32767.0, 16, 1);
}
uint evalPackUnorm4x8(float x, float y, float z, float w)
{
    return evalPackLane(x, 0.0, 255.0, 8, 0) | evalPackLane(y, 0.0, 255.0, 8, 1) |
           evalPackLane(z, 0.0, 255.0, 8, 2) | evalPackLane(w, 0.0, 255.0, 8, 3);
}
uint evalPackSnorm4x8(float x, float y, float z, float w)
{
    return evalPackLane(x, -1.0, 127.0, 8, 0) | evalPackLane(y, -1.0, 127.0, 8, 1) |
           evalPackLane(z, -1.0, 127.0, 8, 2) | evalPackLane(w, -1.0, 127.0, 8, 3);
}

// {{evalUnpackUnorm2x16 evalUnpackSnorm2x16 evalUnpackUnorm4x8 evalUnpackSnorm4x8}}
float evalUnsignedLane(uint word, float scale, int bits, int place)
{
    return float((word >> uint(place * bits)) & ((1u << uint(bits)) - 1u)) / scale;
}
float evalSignedLane(uint word, float scale, int bits, int place)
{
    // To the top and back, which brings the sign along.
    int whole = int(word << uint(32 - bits * (place + 1))) >> (32 - bits);
    return max(float(whole) / scale, -1.0);
}
vec2 evalUnpackUnorm2x16(uint w)
{
    return vec2(evalUnsignedLane(w, 65535.0, 16, 0), evalUnsignedLane(w, 65535.0, 16, 1));
}
vec2 evalUnpackSnorm2x16(uint w)
{
    return vec2(evalSignedLane(w, 32767.0, 16, 0), evalSignedLane(w, 32767.0, 16, 1));
}
vec4 evalUnpackUnorm4x8(uint w)
{
    return vec4(evalUnsignedLane(w, 255.0, 8, 0), evalUnsignedLane(w, 255.0, 8, 1),
                evalUnsignedLane(w, 255.0, 8, 2), evalUnsignedLane(w, 255.0, 8, 3));
}
vec4 evalUnpackSnorm4x8(uint w)
{
    return vec4(evalSignedLane(w, 127.0, 8, 0), evalSignedLane(w, 127.0, 8, 1),
                evalSignedLane(w, 127.0, 8, 2), evalSignedLane(w, 127.0, 8, 3));
}

// {{evalPackHalf2x16 evalUnpackHalf2x16}}
// IEEE binary16; the mantissa is cut off. What is too large becomes infinite.
uint evalHalf(float x)
{
    uint bits = floatBitsToUint(x);
    uint sign = (bits >> 16) & 0x8000u;
    int exponent = int((bits >> 23) & 0xffu) - 127;
    uint mantissa = bits & 0x7fffffu;
    if (exponent == 128)
        return sign | 0x7c00u | (mantissa != 0u ? 0x200u | (mantissa >> 13) : 0u);
    if (exponent > 15)
        return sign | 0x7c00u;
    if (exponent >= -14)
        return sign | (uint(exponent + 15) << 10) | (mantissa >> 13);
    if (exponent < -24)
        return sign;
    return sign | ((mantissa | 0x800000u) >> uint(-exponent - 1));
}
float evalFromHalf(uint half_)
{
    uint sign = (half_ & 0x8000u) << 16;
    uint exponent = (half_ >> 10) & 0x1fu;
    uint mantissa = half_ & 0x3ffu;
    if (exponent == 31u)
        return uintBitsToFloat(sign | 0x7f800000u | (mantissa << 13));
    if (exponent != 0u)
        return uintBitsToFloat(sign | ((exponent + 112u) << 23) | (mantissa << 13));
    float size = float(mantissa) * 5.9604644775390625e-8;
    return sign != 0u ? -size : size;
}
uint evalPackHalf2x16(float x, float y)
{
    return evalHalf(x) | (evalHalf(y) << 16);
}
vec2 evalUnpackHalf2x16(uint w)
{
    return vec2(evalFromHalf(w & 0xffffu), evalFromHalf(w >> 16));
}
