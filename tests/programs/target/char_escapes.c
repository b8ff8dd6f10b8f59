/* Escapes in plain character constants and strings reach all 16 bits.
 *
 * Line by line:
 *  1  '\x1234' = 4660; '\777' = 511; '\xffff' is the char -1; '\x8000' is -32768
 *  2  "\x1234\777A" holds 4660, 511, 65 and the 0, so its sizeof is 4
 *  3  "a\x100z": the low half of 0x100 is 0, but the character is not: strlen 3
 *  4  an array takes its size and its elements from such a string: 3 units, 256 and -256 (0xff00 - 0x10000)
 *  5  case labels: 0x1234 gives 2, its low half 0x34 is neither label, 0x77 gives 1
 *  6  strings of one kind are joined unit by unit: "\x100" "1" is {0x100, '1'}, not {0x1001}: 256 49
 */
#include <stdio.h>
#include <string.h>

static const char array[] = "\x100\xff00";

static int which(char c) {
    switch (c) {
    case '\x77': return 1;
    case '\x1234': return 2;
    }
    return 0;
}

int main(void) {
    const char* text = "\x1234\777A";
    const char* joined = "\x100"
                         "1";
    printf("%d %d %d %d\n", '\x1234', '\777', '\xffff', '\x8000');
    printf("%d %d %d %d, %d\n", text[0], text[1], text[2], text[3], (int)sizeof "\x1234\777A");
    printf("%d\n", (int)strlen("a\x100z"));
    printf("%d %d %d\n", (int)sizeof array, array[0], array[1]);
    printf("%d %d %d\n", which(0x1234), which(0x34), which(0x77));
    printf("%d %d\n", joined[0], joined[1]);
    return 0;
}
