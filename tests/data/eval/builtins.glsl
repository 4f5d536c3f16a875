Every built-in function, with what this language does differently from others.

// case: angles
vec2(radians(180.0), degrees(1.0)) // expect: 3.14159265 57.2957795

// case: trigonometry per lane
vec4(sin(0.5), cos(0.5), tan(0.5), atan(0.5)) // expect: 0.47942554 0.87758256 0.5463025 0.46364761

// case: inverse trigonometry
vec3(asin(0.5), acos(0.5), atan(1.0, -1.0)) // expect: 0.52359878 1.04719755 2.35619449

// case: hyperbolic functions
vec3(sinh(1.0), cosh(1.0), tanh(1.0)) // expect: 1.17520119 1.54308063 0.76159416

// case: inverse hyperbolic functions
vec3(asinh(1.0), acosh(2.0), atanh(0.5)) // expect: 0.88137359 1.3169579 0.54930614

// case: exponentials and logarithms
vec4(exp(1.0), log(2.0), exp2(3.5), log2(10.0)) // expect: 2.71828183 0.69314718 11.3137085 3.32192809

// case: roots and powers
vec3(sqrt(2.0), inversesqrt(4.0), pow(2.0, 0.5)) // expect: 1.41421356 0.5 1.41421356

// case: nothing guards the inverse root of zero
inversesqrt(0.0) // expect: inf

// case: out of the domain is not a number
vec2(sqrt(-1.0), acos(2.0)) // expect: nan nan

// case: sign and abs
vec4(sign(-2.5), sign(0.0), sign(3.0), abs(-1.5)) // expect: -1 0 1 1.5

// case: floor, ceil, trunc, fract below zero
vec4(floor(-1.5), ceil(-1.5), trunc(-1.5), fract(-1.25)) // expect: -2 -1 -1 0.75

// case: round goes away from zero, roundEven to even
vec4(round(2.5), round(-2.5), roundEven(2.5), roundEven(-3.5)) // expect: 3 -3 2 -4

// case: what is too large to have a fraction stays
vec3(floor(1.0e10), ceil(-3.0e38), fract(1.0e9)) // expect: 1e10 -3e38 0

// case: mod keeps the sign of x
vec3(mod(-1.0, 3.0), mod(7.5, 2.0), mod(7.5, -2.0)) // expect: -1 1.5 1.5
// expect[gpu]: 2 1.5 -0.5

// case: mod by zero is no fault
mod(1.0, 0.0) // expect: nan

// case: min, max, clamp per lane
// input: vec3 p = -1 0.5 3
min(p, 1.0) + max(p, 0.0) * 10.0 + clamp(p, 0.0, 1.0) * 100.0 // expect: -1 55.5 131

// case: clamp with its limits the wrong way round takes the upper one
clamp(0.5, 2.0, 1.0) // expect: 1

// case: min and max keep what is compared with nan on the left
// input: float x = nan
vec2(min(2.0, x), max(2.0, x)) // expect: 2 2

// case: mix
vec3(mix(2.0, 4.0, 0.25), mix(vec2(0.0, 1.0), vec2(1.0, 3.0), 0.5)) // expect: 2.5 0.5 2

// case: mix rounds once
mix(3.0e38, 3.0e38, 0.5) // expect: 3e38

// case: step, with the edge itself above
vec3(step(1.0, 0.5), step(1.0, 1.0), step(1.0, 2.0)) // expect: 0 1 1

// case: step of a scalar edge takes the shape of the vector
// input: vec2 p = 0.25 0.75
length(step(0.5, p)) // expect: 1

// case: smoothstep
vec3(smoothstep(0.0, 1.0, 0.25), smoothstep(0.0, 1.0, -3.0), smoothstep(1.0, 0.0, 0.25)) // expect: 0.15625 0 0.84375

// case: fma
fma(2.0, 3.0, 4.0) // expect: 10

// case: length of every size
vec4(length(-2.0), length(vec2(3.0, 4.0)), length(vec3(2.0, 3.0, 6.0)), length(vec4(1.0))) // expect: 2 5 7 2

// case: distance and dot
vec3(distance(vec2(1.0), vec2(4.0, 5.0)), dot(vec3(1.0, 2.0, 3.0), vec3(4.0, 5.0, 6.0)), dot(2.0, 3.0)) // expect: 5 32 6

// case: cross
cross(vec3(1.0, 0.0, 0.0), vec3(0.0, 1.0, 0.0)) // expect: 0 0 1

// case: normalize
normalize(vec3(0.0, 3.0, 4.0)) // expect: 0 0.6 0.8

// case: normalize leaves a zero vector alone
normalize(vec3(0.0)) // expect: 0 0 0

// case: reflect
reflect(vec2(1.0, -1.0), vec2(0.0, 1.0)) // expect: 1 1

// case: refract
refract(vec2(0.6, -0.8), vec2(0.0, 1.0), 0.5) // expect: 0.3 -0.9539392

// case: total internal reflection is zero
refract(vec2(0.8, -0.6), vec2(0.0, 1.0), 2.0) // expect: 0 0

// case: faceforward
vec4(faceforward(vec2(1.0, 2.0), vec2(0.0, -1.0), vec2(0.0, 1.0)), faceforward(vec2(1.0, 2.0), vec2(0.0, 1.0), vec2(0.0, 1.0))) // expect: 1 2 -1 -2

// case: bits counted and found
vec3(bitCount(255), findLSB(40), findMSB(40)) // expect: 8 3 5

// case: no bit to be found
findLSB(0) * 10 + findMSB(0) // expect: -11

// case: a field of bits
vec3(bitfieldExtract(0xABCD, 4, 8), bitfieldExtract(-1, 0, 32), bitfieldExtract(-1, 28, 8)) // expect: 188 -1 0

// case: no sign extension
bitfieldExtract(-1, 4, 4) // expect: 15

// case: a field that is no field
vec3(bitfieldExtract(7, 0, 0), bitfieldExtract(7, -1, 2), bitfieldInsert(7, 1, 31, 2)) // expect: 0 0 7

// case: bits put into a word
bitfieldInsert(0xFF00, 0x5, 4, 4) // expect: 65360

// case: the same bits as another type
vec2(floatBitsToInt(1.0) == 0x3F800000 ? 1.0 : 0.0, intBitsToFloat(0x40490FDB)) // expect: 1 3.14159274

// case: isnan and isinf
// input: float x = nan
// input: float y = inf
isnan(x) && !isnan(y) && isinf(y) && !isinf(x) // expect: true

// case: tests per lane
// input: vec3 p = nan 1 inf
any(isnan(p)) && !all(isnan(p)) && any(isinf(p)) // expect: true

// case: unsigned norms in 16 bits
packUnorm2x16(vec2(1.0, 0.5)) // expect: 2147549183

// case: signed norms in 16 bits
packSnorm2x16(vec2(-1.0, 2.0)) // expect: 2147450881

// case: norms in 8 bits, low lane first
vec2(packUnorm4x8(vec4(1.0, 0.0, 0.0, 0.0)), packSnorm4x8(vec4(-1.0, 0.0, 0.0, 0.0))) // expect: 255 129

// case: unpacked norms
unpackUnorm4x8(packUnorm4x8(vec4(0.2, 0.4, 0.6, 2.0))) // expect: 0.2 0.4 0.6 1

// case: signed norms are clamped at minus one
unpackSnorm2x16(0x80007FFFu) // expect: 1 -1

// case: signed norms in 8 bits, unpacked
unpackSnorm4x8(packSnorm4x8(vec4(-1.0, 1.0, 0.0, -5.0))) // expect: -1 1 0 -1

// case: unsigned norms in 16 bits, unpacked
unpackUnorm2x16(0x0000FFFFu) // expect: 1 0

// case: half floats
packHalf2x16(vec2(1.0, -2.0)) // expect: 3221240832

// case: half floats cut the mantissa, go to subnormals and to infinity
unpackHalf2x16(packHalf2x16(vec2(0.1, 5.9604645e-8))) // expect: 0.09997559 5.9604645e-8

// case: what a half cannot hold
unpackHalf2x16(packHalf2x16(vec2(1.0e6, -1.0e-9))) // expect: inf 0

// case: determinants
vec3(determinant(mat2(1.0, 2.0, 3.0, 4.0)), determinant(mat3(2.0)), determinant(mat4(2.0, 0.0, 0.0, 1.0, 0.0, 3.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 4.0, 0.0, 0.0, 1.0))) // expect: -2 8 -6

// case: inverse
inverse(mat2(4.0, 2.0, 7.0, 6.0)) * vec2(10.0) // expect: -1 2

// case: inverse of a matrix that needs its rows swapped
inverse(mat3(0.0, 1.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 4.0)) * vec3(1.0, 2.0, 4.0) // expect: 2 1 1

// case: a singular matrix is its own inverse
inverse(mat2(1.0, 2.0, 2.0, 4.0)) * vec2(1.0, 0.0) // expect: 1 2

// case: transpose of what is not square
transpose(mat2x3(1.0, 2.0, 3.0, 4.0, 5.0, 6.0)) * vec3(1.0, 0.0, 0.0) // expect: 1 4
// lacks: native gpu

// case: outer product is column times row
outerProduct(vec2(1.0, 2.0), vec3(3.0, 4.0, 5.0))[2] // expect: 5 10

// case: componentwise product of matrices
matrixCompMult(mat2(1.0, 2.0, 3.0, 4.0), mat2(2.0))[1] // expect: 0 8

// case: relations of vectors
// input: vec3 p = 1 2 3
float f(bvec3 b) { return float(b.x) + float(b.y) * 10.0 + float(b.z) * 100.0; }
vec3(f(lessThan(p, vec3(2.0))), f(lessThanEqual(p, vec3(2.0))), f(greaterThan(p, vec3(2.0)))) // expect: 1 11 100
// lacks: native

// case: more relations of vectors
// input: vec3 p = 1 2 3
float f(bvec3 b) { return float(b.x) + float(b.y) * 10.0 + float(b.z) * 100.0; }
vec4(f(greaterThanEqual(p, vec3(2.0))), f(equal(p, vec3(2.0))), f(notEqual(p, vec3(2.0))), f(not(equal(p, vec3(2.0))))) // expect: 110 10 101 101
// lacks: native

// case: any and all
bvec2(any(bvec3(false, true, false)), all(bvec3(true, true, false))) // expect: 1 0
// lacks: native gpu

// case: any of a scalar is not implemented
any(true) // fault 1:1 interpreter has no implementation for 'any'
// lacks: native gpu

// case: integers stay integers where that is meant
abs(-3) / 2 + min(7, 9) / 2 // expect: 4

// case: integers become floats where they cannot stay
sqrt(2) // expect: 1.41421356

// case: a built-in beats a user function of its name and arity
float min(float a, float b) { return 77.0; }
min(1.0, 2.0) // expect: 1

// case: a user function of another arity is reached
float min(float a, float b, float c) { return 77.0; }
min(1.0, 2.0, 3.0) // expect: 77

// case: doubles are computed in double
double f(double x) { return sqrt(x) * sqrt(x) - 2.0; }
f(2.0) < 1.0e-15 // expect: true
// lacks: gpu
