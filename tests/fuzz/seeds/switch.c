int f(int a) {
    switch (a) {
    case 1:
    case 5: a += 2;
    case 9: return a;
    case -3: a--; break;
    default: a = 7;
    }
    return a * 2;
}
int main(void) { return f(5); }
