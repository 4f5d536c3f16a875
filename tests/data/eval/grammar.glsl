How the language reads: literals, precedence, scopes. The text before the first case is no case.

// case: integer division of literals
7 / 2 // expect: 3
// type: int

// case: a fraction makes it float
7 / 2.0 // expect: 3.5

// case: hexadecimal, octal and suffixes
0x1F + 010 + 2u // expect: 41
// type: uint

// case: exponents
1.5e2 + .5e-1 + 2.f // expect: 152.05

// case: product before sum, from the left
2.0 - 3.0 - 4.0 * 2.0 / 4.0 // expect: -3

// case: shift between sum and comparison
(1 << 2 + 1) == 8 // expect: true

// case: bit operators by tightness
5 | 2 ^ 3 & 6 // expect: 5

// case: or is looser than exclusive or
true || true ^^ true // expect: true

// case: ternary nests to the right
false ? 1.0 : false ? 2.0 : 3.0 // expect: 3

// case: minus binds to the swizzle's result
// input: vec3 p = 1 2 3
-p.zyx // expect: -3 -2 -1

// case: swizzle sets
// input: vec4 v = 1 2 3 4
vec4(v.x, v.g, v.p, v.w) // expect: 1 2 3 4

// case: what follows the expression is ignored
1.0 + 1.0 // expect: 2
} ; float f(

// case: comments are blanks
1.0 /* + 5.0
+ 7.0 */ + 1.0 // expect: 2

// case: last definition of a signature wins
float f(float a) { return 1.0; }
float f(float b) { return 2.0; }
f(0.0) // expect: 2

// case: overloads by exact type
float f(int a) { return 1.0; }
float f(float a) { return 2.0; }
float f(vec2 a) { return 3.0; }
vec3(f(1), f(1.0), f(vec2(1.0))) // expect: 1 2 3

// case: a function may use one that comes later
float f(float a) { return g(a) + 1.0; }
float g(float a) { return a * 2.0; }
f(3.0) // expect: 7

// case: structs hold structs
struct Ray { vec3 origin; vec3 direction; };
struct Hit { Ray ray; float t; };
Hit make(float t) { return Hit(Ray(vec3(1.0), vec3(0.0, 2.0, 0.0)), t); }
make(3.0).ray.direction.y * make(4.0).t // expect: 8

// case: several declarators
float f() { float a = 1.0, b = a + 1.0, c; c = a + b; return c; }
f() // expect: 3

// case: a block opens no scope
float f() { float a = 1.0; { float a = 2.0; } return a; }
f() // expect: 2

// case: case labels in any base
float f(int i) { switch (i) { case 0x10: return 1.0; case 3u: return 2.0; default: return 3.0; } }
vec3(f(16), f(3), f(4)) // expect: 1 2 3

// case: element of an array input
// input: vec2[] points = 1 2 3 4
points[1] // expect: 3 4
// lacks: gpu
