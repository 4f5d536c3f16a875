What goes wrong while an expression is evaluated, in the order in which it does.

// case: division by zero
// input: float k = 0
1.0 / k // fault 2:5 division by zero
// expect: 0

// case: integers too
// input: int n = 0
7 / n + 7 % n // fault 2:3 division by zero // fault 2:11 modulo by zero

// case: a fault yields zero and goes on
// input: float k = 0
1.0 / k + 3.0 // fault 2:5 division by zero
// expect: 3

// case: vectors divide by the rules of floating point
// input: float k = 0
vec3(1.0, 0.0, -1.0) / k // expect: inf nan -inf

// case: every fault is told, left before right
// input: float k = 0
float f(float a) { float b = 1.0 / a; return b % a; } // fault 2:34 division by zero // fault 2:48 modulo by zero
f(k) + 2.0 / k // fault 3:12 division by zero

// case: an output goes on after faults in a loop
// input: float k = 0
float f(float a) { float s = 0.0; for (int i = 0; i < 3; i++) s += 1.0 / a; return s; } // fault 2:72 division by zero // fault 2:72 division by zero // fault 2:72 division by zero
f(k)

// case: the branch that is not taken has no fault
// input: float k = 0
k == 0.0 ? 5.0 : 1.0 / k // expect: 5

// case: compound division
// input: float k = 0
float f(float a) { float b = 4.0; b /= a; return b + 1.0; } // fault 2:37 division by zero
f(k) // expect: 1

// case: index beyond a vector
// input: int n = 3
vec3(1.0)[n] // fault 2:10 vector index out of range

// case: index before a matrix
// input: int n = -1
mat2(1.0)[n] // fault 2:10 matrix column index out of range

// case: index beyond an array
// input: float[] a = 1 2 3
a[3] + a[2] // fault 2:2 runtime-array index 3 out of range [0, 3)
// expect: 3
// lacks: gpu

// case: an array of vectors
// input: vec2[] a = 1 2 3 4
a[1] // expect: 3 4
// lacks: gpu

// case: an array through a function
// input: float[] a = 1 2 3
float sum(float v[]) { return v[0] + v[1] + v[2]; }
sum(a) // expect: 6
// lacks: gpu

// case: writing outside of a vector
// input: int n = 7
float f(int i) { vec2 v = vec2(1.0); v[i] = 5.0; return v.x + v.y; } // fault 2:39 vector index out of range
f(n) // expect: 2

// case: discard
float f(float a) { if (a > 0.0) discard; return 3.0; } // fault 1:33 discard reached at runtime
f(1.0)
// expect: 0
// lacks: native gpu

// case: a function sees its parameters only
// input: float k = 2
float f(float a) { return a * k; } // fault 2:31 unbound name 'k' at run-time
f(3.0)
// lacks: native gpu

// case: declared on the other way only
float f(float a) { if (a > 0.0) { float b = 4.0; } return b; } // fault 1:59 unbound name 'b' at run-time
f(1.0) * 10.0 + f(-1.0) // expect: 40

// case: nothing that can be assigned
float f(float a) { (a + 1.0) = 2.0; return a; } // fault 1:23 left side cannot be assigned
f(3.0) // expect: 3
// lacks: native gpu

