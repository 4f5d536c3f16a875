How statements run: scopes that are none, bounds of loops, ways out.

// case: no short cut, the right side always runs
bool f(inout float a) { a += 1.0; return true; }
float g() { float a = 0.0; bool b = true || f(a); b = false && f(a); return a; }
g() // expect: 2
// lacks: gpu

// case: a block opens no scope
float f() { { float a = 4.0; } return a; }
f() // expect: 4

// case: a name declared again is the same name
float f() { float a = 1.0; { float a = 2.0; } return a; }
f() // expect: 2

// case: a declaration without a value starts at zero each time
float f() { float s = 0.0; for (int i = 0; i < 3; i++) { float a; a += 1.0; s += a; } return s; }
f() // expect: 3

// case: a value takes the declared type
float f() { float a = 1; int b = 7; b = b / 2; a = b; return a / 2; }
f() // expect: 1.5

// case: an assignment keeps the type of its variable
float f() { int i = 3; i = i * 0.5; return i + 0.25; }
f() // expect: 1.25

// case: a loop ends silently after 99,999 rounds
int f() { int n = 0; for (int i = 0; true; i++) { n++; } return n; }
f() // expect: 99999
// expect[gpu]: nan

// case: the condition is not asked again when the rounds are used up
int f() { int n = 0; for (int i = 0; n++ < 200000; i++) {} return n; }
f() // expect: 99999
// expect[gpu]: nan

// case: while and do end alike
int f() { int n = 0; while (true) n++; do { n++; } while (true); return n; }
f() // expect: 199998
// expect[gpu]: nan

// case: continue goes on to the step
int f() { int s = 0; for (int i = 0; i < 5; i++) { if (i == 2) continue; s += i; } return s; }
f() // expect: 8

// case: continue in do goes on to the condition
int f() { int i = 0; int s = 0; do { i++; if (i == 2) continue; s += i; } while (i < 4); return s; }
f() // expect: 8

// case: break leaves the inner loop alone
int f() { int s = 0; for (int i = 0; i < 3; i++) { for (int j = 0; j < 10; j++) { if (j > i) break; s++; } } return s; }
f() // expect: 6

// case: return leaves all loops
int f() { for (int i = 0; i < 3; i++) { for (int j = 0; j < 3; j++) { if (i * j == 2) return i * 10 + j; } } return -1; }
f() // expect: 12

// case: a switch falls through
int f(int i) { int r = 0; switch (i) { case 1: r += 1; case 2: r += 10; break; case 3: r += 100; } return r; }
f(1) * 10000 + f(2) * 100 + f(4) // expect: 111000

// case: default in front takes everything
int f(int i) { int r = 0; switch (i) { default: r += 1; case 2: r += 10; break; case 3: r += 100; } return r; }
f(3) // expect: 11

// case: hexadecimal and unsigned labels
int f(int i) { switch (i) { case 0x10: return 1; case 17u: return 2; } return 0; }
f(16) * 10 + f(17) // expect: 12

// case: continue passes through a switch
int f() { int s = 0; for (int i = 0; i < 4; i++) { switch (i) { case 1: continue; } s += i; } return s; }
f() // expect: 5

// case: a function without return gives the zero of its type
vec2 f() { float a = 1.0; }
f() + vec2(1.0, 2.0) // expect: 1 2

// case: what is returned takes the declared type
float f() { return 1; }
f() / 2 // expect: 0.5

// case: out and inout come back
void f(out float a, inout float b, float c) { a = b + c; b = c; c = 100.0; }
float g() { float x = 1.0; float y = 2.0; float z = 3.0; f(x, y, z); return x * 100.0 + y * 10.0 + z; }
g() // expect: 533
// lacks: gpu

// case: only a plain name comes back
void f(inout float a) { a = 9.0; }
float g() { vec2 v = vec2(1.0); f(v.x); return v.x; }
g() // expect: 1
// lacks: gpu

// case: prefix and postfix
int f() { int i = 5; int a = i++; int b = ++i; int c = i--; int d = --i; return a * 1000 + b * 100 + c * 10 + d; }
f() // expect: 5775

// case: swizzles are written lane by lane
vec4 f() { vec4 v = vec4(1.0, 2.0, 3.0, 4.0); v.yx = vec2(10.0, 20.0); v.zw += 1.0; v.wzyx.x = 7.0; return v; }
f() // expect: 20 10 4 7

// case: columns and entries of a matrix are written
mat2 f() { mat2 m = mat2(1.0); m[1] = vec2(5.0, 6.0); m[0][1] = 7.0; m[1].x += 1.0; return m; }
f()[0] + f()[1] * 10.0 // expect: 61 67

// case: structs within structs
struct In { float a; vec2 b; }; struct Out { In i; int c; };
Out f(Out o) { o.i.b.y = 9.0; o.c++; return o; }
float g() { Out o = Out(In(1.0, vec2(2.0, 3.0)), 4); Out q = f(o); return q.i.b.y * 100.0 + o.i.b.y * 10.0 + float(q.c); }
g() // expect: 935

// case: recursion
float f(float n) { return n < 1.0 ? 0.0 : n + f(n - 1.0); }
f(10.0) // expect: 55
// lacks: native gpu

// case: 256 calls deep is deep enough
float f(int n) { return n <= 1 ? 1.0 : 1.0 + f(n - 1); }
f(256) // expect: 256
// lacks: native gpu

// case: one deeper is a fault
float f(int n) { return n <= 1 ? 1.0 : 1.0 + f(n - 1); } // fault 1:46 recursion depth limit (256) exceeded calling 'f'
f(257)
// lacks: native gpu

// case: conversions go by lane
ivec3(vec3(1.9, -1.9, 2.5)) + 1 // expect: 2 0 3
// lacks: native gpu

// case: a scalar fills a vector and the diagonal of a matrix
mat3(2.0) * vec3(1.0) + vec3(1.0) // expect: 3 3 3

// case: matrices times vectors on both sides
// input: vec2 v = 1 10
mat2(1.0, 2.0, 3.0, 4.0) * v + v * mat2(1.0, 2.0, 3.0, 4.0) * 100.0 // expect: 2131 4342

// case: other operators on matrices go per entry
(mat2(1.0, 2.0, 3.0, 4.0) + mat2(1.0) - 1.0)[0] // expect: 1 1

// case: negation leaves matrices and unsigned numbers as they are
(-mat2(1.0))[0].x + float(-3u) // expect: 4

// case: shift counts are taken modulo 32
(1 << 33) + (-8 >> 1) // expect: -2
