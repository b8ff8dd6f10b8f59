static unsigned gcd(unsigned a, unsigned b) { return b == 0 ? a : gcd(b, a % b); }
static int fib(int n) { return n < 2 ? n : fib(n - 1) + fib(n - 2); }
int main(void) { return (int)gcd(84, 36) + fib(6); }
