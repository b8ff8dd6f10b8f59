// Files of the host: only plain files below the folder given, whatever their names say; what a unit is in a file.
//
// REQUIRES: front-end
// RUN: rm -rf %t && mkdir -p %t/in/sub %t/out && echo secret > %t/out/secret && echo plain > %t/in/sub/plain
// RUN: cd %t/in && ln -s ../out/secret link && ln -s ../out dirlink && ln -s sub/plain inside && mkfifo pipe
// RUN: nxparse -w %s -o %t/p && nxrun --files=%t/in %t/p 2>&1 | FileCheck %s --match-full-lines
// RUN: od -An -tx1 %t/in/units | FileCheck %s --check-prefix=BYTES
// RUN: ls %t/in %t/out | FileCheck %s --check-prefix=LEFT
// RUN: nxrun --files=%t/in %t/p full | FileCheck %s --check-prefix=FULL
//
// Without a folder nothing opens; a folder that is none is said so.
// RUN: nxrun %t/p | FileCheck %s --check-prefix=NONE
// NONE-NOT: open
// NONE: sub/plain: Permission denied
// RUN: sh -c 'nxrun --files=%t/none %t/p; test $? -eq 1' 2>&1 | FileCheck %s --check-prefix=FOLDER
// FOLDER: none' is no folder that can be opened
#include <errno.h>
#include <stdio.h>
#include <string.h>

static void try(const char *name, const char *mode) {
    FILE *f = fopen(name, mode);
    if (f) {
        char text[20] = "";
        fgets(text, 20, f);
        printf("%s: open %s\n", name, strtok(text, "\n"));
        fclose(f);
    } else
        printf("%s: %s\n", name, strerror(errno));
}
int main(int argc, char **argv) {
    FILE *f;
    short values[3] = {1, -1, 300}, back[3];
    int i;
    if (argc == 2) { // FULL: 64 files and 1
        for (i = 0; i < 100 && tmpfile(); i++) {}
        printf("%d files and %d\n", i, errno == EMFILE);
        return 0;
    }
    // CHECK:      sub/plain: open plain
    try("sub/plain", "r");
    // CHECK-NEXT: ./sub/../sub//plain: open plain
    try("./sub/../sub//plain", "r");
    // CHECK-NEXT: sub/../../out/secret: Permission denied
    // CHECK-NEXT: ../out/new: Permission denied
    // CHECK-NEXT: /etc/passwd: Permission denied
    try("sub/../../out/secret", "r");
    try("../out/new", "w");
    try("/etc/passwd", "r");
    // CHECK-NEXT: link: Too many levels of symbolic links
    // CHECK-NEXT: dirlink/secret: Not a directory
    // CHECK-NEXT: dirlink/new: Not a directory
    // CHECK-NEXT: inside: Too many levels of symbolic links
    try("link", "r");
    try("dirlink/secret", "r");
    try("dirlink/new", "w");
    try("inside", "a");
    // CHECK-NEXT: pipe: Permission denied
    // CHECK-NEXT: sub: Is a directory
    // CHECK-NEXT: sub/: Is a directory
    // CHECK-NEXT: none: No such file or directory
    // CHECK-NEXT: sub/plain: Invalid argument
    // CHECK-NEXT: sub/plain: File exists
    try("pipe", "r");
    try("sub", "r");
    try("sub/", "r");
    try("none", "r+");
    try("sub/plain", "q");
    try("sub/plain", "wx");
    // CHECK-NEXT: 0 -1 -1 -1 0
    printf("%d %d ", rename("sub/plain", "moved"), rename("moved", "../out/moved"));
    printf("%d %d %d\n", rename("dirlink/secret", "stolen"), remove("../out/secret"), remove("link"));

    // Two bytes a unit in a binary stream; one in a text stream, into which 300 does not fit.
    // CHECK-NEXT: 3 3 1 -1 300
    // CHECK-NEXT: 1 1 -1 1
    f = fopen("units", "wb");
    if (!f) return 0;
    printf("%d ", (int)fwrite(values, 1, 3, f));
    fclose(f);
    f = fopen("units", "rb");
    printf("%d %d %d %d\n", (int)fread(back, 1, 3, f), back[0], back[1], back[2]);
    fclose(f);
    f = fopen("text", "w");
    errno = 0;
    printf("%d %d ", (int)fwrite(values, 1, 2, f), errno == EILSEQ);
    printf("%d %d\n", fprintf(f, "%c", 300), ferror(f) != 0);
    // CHECK-NEXT: to file
    if (freopen("redirected", "w", stdout)) printf("to file\n");
    freopen("redirected", "r", stdin);
    fclose(stdout);
    fprintf(stderr, "%s", fgets((char[20]){0}, 20, stdin));
    return 0;
}
// BYTES: 01 00 ff ff 2c 01
// LEFT: in:
// LEFT: moved
// LEFT: out:
// LEFT-NEXT: secret
// LEFT-NOT: {{.}}
