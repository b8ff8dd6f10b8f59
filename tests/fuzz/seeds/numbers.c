static double d = 1.5e10;
static float f = -0.25f;
static long long big = 0x123456789ABCDEFLL;
static unsigned long long wide = 18446744073709551615ULL;
int main(void) {
    double e = d * f + (double)big;
    long long q = big / 1000003 - (big >> 7) + (long long)(e / 4.0);
    unsigned char c = (unsigned char)q;
    _Bool b = e > 0.0 && !(f >= 0.0f);
    wide = wide % 97u ^ (unsigned)~c;
    return b ? (int)(wide & 7) : (short)q;
}
