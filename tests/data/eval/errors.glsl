What a compile refuses, with the place and the words.

// case: two outputs of one mistake
vec3(1.0).xg + y // error 1:11 mixed swizzle component sets in '.xg' // error 1:16 unresolved name 'y'

// case: missing semicolon
float f() {
    float a = 1.0
    return a; // error 3:5 expected ';' after declaration
}
f()

// case: const is only for parameters
float f(const float a) {
    const float b = 1.0; // error 2:5 unexpected token 'const' in expression // error 2:11 expected ';' after expression statement
    return a;
}
f(1.0)

// case: for headers are complete
float f() {
    for (int i = 0;; i++) break; // error 2:20 unexpected token ';' in expression // error 2:22 expected ';' after for-condition
    return 1.0;
}
f()

// case: negative labels
float f(int i) {
    switch (i) {
    case -1: // error 3:10 expected case label // error 3:10 expected ':' after case label // error 3:12 expected ';' after expression statement // error 3:12 unexpected token ':' in expression
        return 1.0; // error 4:9 expected ';' after expression statement
    }
    return 2.0;
}
f(1)

// case: a shift by a fraction
1 << 1.0 // error 1:3 bitwise operator requires integer operands

// case: conditions are bool
float f(float a) {
    if (a) return 1.0; // error 2:5 if condition must be bool
    while (1) break; // error 3:5 while condition must be bool
    return a ? 1.0 : 2.0; // error 4:14 ternary condition must be bool
}
f(1.0)

// case: tie of overloads
float f(int a, float b) { return 1.0; }
float f(float a, int b) { return 2.0; }
f(1, 1) // error 3:1 ambiguous call to 'f': 2 overloads tie

// case: recursive struct
struct S { S s; }; // error 1:8 recursive struct 'S' is rejected — §EX2-API-3.1.1
1.0

// case: numbers that no type holds
vec3(1e, 4294967296, 0x) // error 1:6 literal '1e' is no number that its type can hold // error 1:10 literal '4294967296' is no number that its type can hold // error 1:22 literal '0x' is no number that its type can hold

// case: preprocessor lines are foreign
#define A 1 // error 1:1 unexpected character '#' // error 1:2 unresolved name 'define'
