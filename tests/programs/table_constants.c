/* Constant tables of many types: ints, shorts, 64-bit, doubles, strings, structs, pointers into tables,
 * addresses of members. */
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

static const int16_t sine_quarter[] = {0, 25, 49, 71, 90, 106, 117, 125, 127};

static int sine(int step) {
    step &= 31;
    int part = step & 7, quarter = step >> 3;
    switch (quarter) {
    case 0: return sine_quarter[part];
    case 1: return sine_quarter[8 - part];
    case 2: return -sine_quarter[part];
    default: return -sine_quarter[8 - part];
    }
}

static const struct element {
    const char* symbol;
    short number;
    double weight;
} elements[] = {{"H", 1, 1.0}, {"He", 2, 4.0}, {"C", 6, 12.0}, {"O", 8, 16.0}, {"Na", 11, 23.0}, {"Cl", 17, 35.5}};

static double molar_mass(const char* formula) {
    double sum = 0;
    while (*formula) {
        const struct element* best = 0;
        for (unsigned i = 0; i < sizeof elements / sizeof elements[0]; i++) {
            const struct element* e = &elements[i];
            unsigned n = (unsigned)strlen(e->symbol);
            if (strncmp(formula, e->symbol, n) == 0 && (!best || strlen(best->symbol) < n)) best = e;
        }
        if (!best) return -1;
        formula += strlen(best->symbol);
        int count = 0;
        while (*formula >= '0' && *formula <= '9') count = count * 10 + *formula++ - '0';
        sum += best->weight * (count ? count : 1);
    }
    return sum;
}

static const uint64_t powers_of_ten[] = {1ull,
                                         10ull,
                                         100ull,
                                         1000ull,
                                         10000ull,
                                         100000ull,
                                         1000000ull,
                                         10000000ull,
                                         100000000ull,
                                         1000000000ull,
                                         10000000000ull,
                                         100000000000ull,
                                         1000000000000ull,
                                         10000000000000ull,
                                         100000000000000ull,
                                         1000000000000000ull,
                                         10000000000000000ull,
                                         100000000000000000ull,
                                         1000000000000000000ull,
                                         10000000000000000000ull};

static int decimal_digits(uint64_t v) {
    int low = 0, high = 20;
    while (high - low > 1) {
        int mid = (low + high) / 2;
        if (v >= powers_of_ten[mid])
            low = mid;
        else
            high = mid;
    }
    return low + 1;
}

static int variable = 5;
static int vector[6] = {1, 2, 3};
static int* const pointer = &vector[2];
static int* back = vector + 5;
static const char* const text = "constant" + 3;
static const struct element* chosen = &elements[3];
static const double* weight = &elements[1].weight;
static int (*const function)(int) = sine;
static const char* names[][2] = {{"zero", "one"}, {"two"}, {[1] = "five"}};
static void* generic = &variable;
static float halves[] = {0.5f, -0.5f, 1.5f, 1e3f};
static char letters[2][4] = {"abc", {'x', 'y'}};
static unsigned wrapped = 0u - 1u, shifted = 1u << 31 | 7, folded = 'A' * 2 + (3 > 2 ? 10 : 20) - 7 / 2 % 2;
static long long wide = -5000000000ll, product = 100000ll * 100000;
static short negative = -32767 - 1;

static const unsigned char class_of[128] = {
    [' '] = 1, ['0'] = 2, ['1'] = 2, ['9'] = 2, ['a'] = 3, ['z'] = 3, ['_'] = 3};

static const int graph[4][4] = {{0, 3, 0, 7}, {3, 0, 1}, {[1] = 1, [3] = 2}, {7, 0, 2, 0}};

int main(void) {
    int total = 0, energy = 0;
    for (int i = 0; i < 32; i++) {
        total += sine(i);
        energy += sine(i) * sine(i);
        printf("%d%c", sine(i), i % 16 == 15 ? '\n' : ' ');
    }
    printf("sum %d, energy near %d\n", total, (energy + 5000) / 10000);
    printf("%g %g %g %g\n", molar_mass("H2O"), molar_mass("NaCl"), molar_mass("C6H12O6"), molar_mass("Xe"));
    printf("%d %d %d %d %d\n", decimal_digits(0), decimal_digits(9), decimal_digits(10), decimal_digits(4294967296ull),
           decimal_digits(UINT64_MAX));
    *pointer += 10;
    *back = variable;
    printf("%d %d %d %d\n", vector[2], vector[5], (int)(back - vector), (int)(pointer - vector));
    printf("%s %s %g %d\n", text, chosen->symbol, *weight, function(8));
    printf("%s %s %d %s\n", names[0][1], names[1][0], names[1][1] == 0, names[2][1]);
    *(int*)generic = 77;
    printf("%d %g %s %d\n", variable, (double)(halves[0] + halves[1] + halves[2] + halves[3]), letters[0],
           letters[1][2]);
    printf("%u %u %u %lld %lld %d\n", wrapped, shifted, folded, wide, product, negative);
    printf("%d %d %d %d\n", class_of[' '], class_of['0'], class_of['z'], class_of['Q']);
    int symmetric = 1;
    for (int i = 0; i < 4; i++)
        for (int j = 0; j < 4; j++) symmetric &= graph[i][j] == graph[j][i];
    printf("symmetric %d\n", symmetric);
    return 0;
}
