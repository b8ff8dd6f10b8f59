/* tgmath.h: the function follows the types of the arguments. */
#include <stdio.h>
#include <tgmath.h>

#define TYPE(x) (sizeof(x) == sizeof(float) ? "float" : sizeof(x) == sizeof(double) ? "double" : "long double")

int main(void) {
    float f = 2;
    double d = 2;
    int i = 2, n;
    printf("%s %s %s %s\n", TYPE(sqrt(f)), TYPE(sqrt(d)), TYPE(sqrt(i)), TYPE(pow(f, f)));
    printf("%s %s %s\n", TYPE(pow(f, d)), TYPE(pow(f, i)), TYPE(fma(f, f, f)));
    printf("%d %d\n", sqrt(f) == (float)sqrt(d), sqrt(f) == sqrt(d));
    printf("%.9g %.9g %.9g %ld\n", (double)exp(f), exp(i), (double)atan2(f, 3.0f), lrint(f * 1.3f));
    printf("%g %g %g\n", (double)ldexp(f, 3), (double)frexp(f, &n), (double)fmax(f, 3.0f));
    return n;
}
