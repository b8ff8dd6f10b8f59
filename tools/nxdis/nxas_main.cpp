// nxas: the text form to an icode file.
#include "driver/safealloc.h"
#include "text.h"

#include <cstdio>
#include <cstring>
#include <exception>

namespace {

constexpr const char* usage_text =
    "usage: nxas [--check] IN -o OUT\n"
    "Makes an icode file of its text form; `-` reads the text from standard input.\n"
    "  --check    also check that the file is well formed; exit 1 and no file if it is not\n"
    "  --help     this text\n"
    "  --version  the version\n";

constexpr size_t faults_shown = 20; // of a check

int fail(const std::string& what) {
    fprintf(stderr, "nxas: error: %s\n", what.c_str());
    return 1;
}

bool read_stdin(std::string& text) {
    char block[65536];
    size_t n = 0;
    while ((n = fread(block, 1, sizeof block, stdin)) > 0) text.append(block, n);
    return ferror(stdin) == 0;
}

int write_file(const char* path, const std::string& bytes) {
    FILE* out = fopen(path, "wb");
    if (out == nullptr) return fail(std::string(path) + ": cannot be written");
    bool good = fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size();
    good = fclose(out) == 0 && good;
    if (good) return 0;
    remove_output_file(path);
    return fail(std::string(path) + ": cannot be written");
}

} // namespace

int main(int argc, char** argv) {
    bool checked = false;
    const char *in = nullptr, *out = nullptr;
    for (int i = 1; i < argc; i++) {
        const char* a = argv[i];
        if (strcmp(a, "--help") == 0) {
            fputs(usage_text, stdout);
            return 0;
        }
        if (strcmp(a, "--version") == 0) {
            printf("nxas, icode version %d\n", icode_version);
            return 0;
        }
        if (strcmp(a, "--check") == 0) {
            checked = true;
        } else if (strcmp(a, "-o") == 0) {
            if (i + 1 == argc) return fail("-o needs a file name");
            out = argv[++i];
        } else if (a[0] == '-' && a[1] != 0) {
            return fail(std::string("unknown option ") + a + "; --help lists them");
        } else if (in != nullptr) {
            return fail(std::string(a) + ": only one text can be read");
        } else {
            in = a;
        }
    }
    if (in == nullptr || out == nullptr) {
        fputs(usage_text, stderr);
        return 1;
    }
    std::string text;
    if (!(strcmp(in, "-") == 0 ? read_stdin(text) : nxtext::read_whole_file(in, text)))
        return fail(std::string(in) + ": cannot be read");
    try {
        nxtext::DOCUMENT doc = nxtext::parse(text, in);
        if (checked) {
            const std::vector<std::string> faults = nxtext::check(doc);
            for (size_t i = 0; i < faults.size() && i < faults_shown; i++)
                fprintf(stderr, "%s: error: %s\n", in, faults[i].c_str());
            if (faults.size() > faults_shown) fprintf(stderr, "%s: error: %zu faults in all\n", in, faults.size());
            if (!faults.empty()) return 1;
        }
        return write_file(out, nxtext::encode(doc));
    } catch (const nxtext::text_fault& f) {
        fprintf(stderr, "%s:%d:%d: error: %s\n", in, f.line, f.column, f.what());
        return 1;
    } catch (const std::exception& e) { return fail(std::string(in) + ": " + e.what()); }
}
