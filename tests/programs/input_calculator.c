/* A line calculator on standard input: own line reader, variables, commands through a table, error messages with
 * columns. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static long long variables[26];
static const char *at, *line_start;
static const char* problem;

static int read_line(char* out, int size) {
    int c, n = 0;
    while ((c = getchar()) != EOF && c != '\n')
        if (n < size - 1) out[n++] = (char)c;
    out[n] = '\0';
    return c != EOF || n > 0;
}

static void blanks(void) {
    while (*at == ' ') at++;
}

static long long sum(void);

static long long factor(void) {
    blanks();
    if (*at == '(') {
        at++;
        long long v = sum();
        blanks();
        if (*at == ')')
            at++;
        else if (!problem)
            problem = ") expected";
        return v;
    }
    if (*at == '-') {
        at++;
        return -factor();
    }
    if (*at >= 'a' && *at <= 'z') return variables[*at++ - 'a'];
    if (*at < '0' || *at > '9') {
        if (!problem) problem = "operand expected";
        return 0;
    }
    long long v = 0;
    while (*at >= '0' && *at <= '9') v = v * 10 + (*at++ - '0');
    return v;
}

static long long product(void) {
    long long v = factor();
    for (;;) {
        blanks();
        char op = *at;
        if (op != '*' && op != '/' && op != '%') return v;
        at++;
        long long w = factor();
        if (op == '*') {
            v *= w;
        } else if (w == 0) {
            if (!problem) problem = "division by zero";
        } else {
            v = op == '/' ? v / w : v % w;
        }
    }
}

static long long sum(void) {
    long long v = product();
    for (;;) {
        blanks();
        if (*at == '+') {
            at++;
            v += product();
        } else if (*at == '-') {
            at++;
            v -= product();
        } else {
            return v;
        }
    }
}

static void command_clear(const char* rest) {
    (void)rest;
    memset(variables, 0, sizeof variables);
}

static void command_show(const char* rest) {
    for (int i = 0; i < 26; i++)
        if (variables[i] && (!*rest || strchr(rest, 'a' + i))) printf("%c=%lld ", 'a' + i, variables[i]);
    putchar('\n');
}

static void command_quit(const char* rest) {
    printf("bye\n");
    exit(atoi(rest));
}

static const struct {
    const char* name;
    void (*run)(const char*);
} commands[] = {{".clear", command_clear}, {".show", command_show}, {".quit", command_quit}};

static void evaluate(void) {
    int target = -1;
    problem = NULL;
    blanks();
    if (at[0] >= 'a' && at[0] <= 'z') {
        const char* s = at + 1;
        while (*s == ' ') s++;
        if (*s == '=') {
            target = *at - 'a';
            at = s + 1;
        }
    }
    long long v = sum();
    blanks();
    if (!problem && *at) problem = "end expected";
    if (problem) {
        printf("%*s^ %s\n", (int)(at - line_start), "", problem);
        return;
    }
    if (target >= 0)
        variables[target] = v;
    else
        printf("%lld\n", v);
}

int main(void) {
    char line[80];
    while (read_line(line, 80)) {
        if (!*line || *line == '#') continue;
        if (*line == '.') {
            int found = 0;
            for (int i = 0; i < 3; i++) {
                int n = (int)strlen(commands[i].name);
                if (strncmp(line, commands[i].name, (size_t)n) == 0) {
                    commands[i].run(line[n] ? line + n + 1 : "");
                    found = 1;
                }
            }
            if (!found) printf("unknown %s\n", line);
            continue;
        }
        printf("> %s\n", line);
        at = line_start = line + 0;
        evaluate();
    }
    printf("end of input\n");
    return 0;
}
