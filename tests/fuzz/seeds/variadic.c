#include <stdarg.h>
#include <stdio.h>
static int add(int n, ...) {
    va_list ap;
    int sum = 0;
    va_start(ap, n);
    while (n-- > 0) sum += va_arg(ap, int);
    va_end(ap);
    return sum;
}
int main(void) {
    static int calls;
    calls++;
    printf("%d %s\n", add(3, 1, 2, 3), "done");
    return calls;
}
