/* Numerical methods on doubles whose results are checked in tolerance: Newton, bisection, Simpson, Horner,
 * Runge-Kutta. */
#include <math.h>
#include <stdio.h>

typedef double (*FUNCTION)(double);

static double newton_sqrt(double v) {
    double x = v > 1 ? v : 1;
    for (int i = 0; i < 60; i++) {
        double next = 0.5 * (x + v / x);
        if (fabs(next - x) < 1e-13 * next) return next;
        x = next;
    }
    return x;
}

static double cubic(double x) { return ((x - 6) * x + 11) * x - 6; } /* (x-1)(x-2)(x-3) */
static double square_less_two(double x) { return x * x - 2; }
static double bell(double x) { return 1 / (1 + x * x); }
static double identity(double x) { return x; }

static int bisect(FUNCTION f, double low, double high, double* root) {
    if (f(low) * f(high) > 0) return -1;
    int steps = 0;
    while (high - low > 1e-10) {
        double mid = (low + high) / 2;
        steps++;
        if (f(low) * f(mid) <= 0)
            high = mid;
        else
            low = mid;
    }
    *root = (low + high) / 2;
    return steps;
}

static double simpson(FUNCTION f, double a, double b, int n) {
    double h = (b - a) / n, s = f(a) + f(b);
    for (int i = 1; i < n; i++) s += f(a + i * h) * (i % 2 ? 4 : 2);
    return s * h / 3;
}

static double sine(double x) {
    double term = x, sum = x;
    for (int k = 1; k < 12; k++) {
        term *= -x * x / ((2 * k) * (2 * k + 1));
        sum += term;
    }
    return sum;
}

static double exponential(double x) {
    int halvings = 0;
    while (x > 0.5 || x < -0.5) {
        x /= 2;
        halvings++;
    }
    double term = 1, sum = 1;
    for (int k = 1; k < 15; k++) {
        term *= x / k;
        sum += term;
    }
    while (halvings--) sum *= sum;
    return sum;
}

struct state {
    double position, speed;
};

static struct state derivative(struct state s) { return (struct state){s.speed, -s.position}; }

static struct state ahead(struct state s, struct state d, double h) {
    s.position += d.position * h;
    s.speed += d.speed * h;
    return s;
}

static struct state runge_kutta(struct state s, double h) {
    struct state k1 = derivative(s), k2 = derivative(ahead(s, k1, h / 2)), k3 = derivative(ahead(s, k2, h / 2)),
                 k4 = derivative(ahead(s, k3, h));
    s.position += h / 6 * (k1.position + 2 * k2.position + 2 * k3.position + k4.position);
    s.speed += h / 6 * (k1.speed + 2 * k2.speed + 2 * k3.speed + k4.speed);
    return s;
}

static void report(const char* name, double got, double want, double tolerance) {
    double error = fabs(got - want);
    printf("%s %.4f %s\n", name, got, error <= tolerance ? "ok" : "off");
}

int main(void) {
    const double pi = 3.14159265358979323846;
    report("sqrt 2", newton_sqrt(2), 1.41421356237309505, 1e-12);
    report("sqrt 1e6", newton_sqrt(1e6), 1000, 1e-9);
    report("sqrt 0.25", newton_sqrt(0.25), 0.5, 1e-12);
    double root = 0;
    int steps = bisect(cubic, 1.6, 2.7, &root);
    report("root", root, 2, 1e-9);
    printf("steps %d\n", steps > 30 && steps < 40);
    bisect(square_less_two, 0, 2, &root);
    report("root", root, newton_sqrt(2), 1e-9);
    printf("no sign change: %d\n", bisect(square_less_two, 2, 3, &root));
    report("integral", simpson(bell, 0, 1, 100) * 4, pi, 1e-8);
    report("integral", simpson(cubic, 0, 5, 2), 13.75, 1e-9);
    report("integral", simpson(identity, -3, 5, 64), 8, 1e-12);
    for (int d = 30; d <= 90; d += 20) {
        double r = d * pi / 180;
        report("sine", sine(r), sin(r), 1e-10);
    }
    report("exp", exponential(1), 2.71828182845904523, 1e-10);
    report("exp", exponential(-3), exp(-3.0), 1e-10);
    report("pow", pow(2, 10) + pow(9, 0.5), 1027, 1e-9);
    struct state s = {1, 0};
    for (int i = 0; i < 200; i++) s = runge_kutta(s, pi / 200);
    report("half a turn", s.position, -1, 1e-7);
    report("energy", s.position * s.position + s.speed * s.speed, 1, 1e-7);
    double logistic = 0.5;
    for (int i = 0; i < 50; i++) logistic = 2 * logistic * (1 - logistic);
    report("fixed point", logistic, 0.5, 1e-12);
    report("atan2", atan2(1, -1), 0.75 * pi, 1e-12);
    return 0;
}
