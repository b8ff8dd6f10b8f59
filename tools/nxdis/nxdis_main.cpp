// nxdis: an icode file as text on standard output.
#include "text.h"

#include <cstdio>
#include <cstring>
#include <exception>

namespace {

constexpr const char* usage_text =
    "usage: nxdis [--source] FILE\n"
    "Shows an icode file as text on standard output. nxas makes the same file of that text again.\n"
    "  --source   the source lines that statements come from, as comments, where their files can be read\n"
    "  --help     this text\n"
    "  --version  the version\n";

int fail(const char* file, const std::string& what) {
    fprintf(stderr, "nxdis: error: %s: %s\n", file, what.c_str());
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    nxtext::PRINT_OPTIONS options;
    const char* file = nullptr;
    for (int i = 1; i < argc; i++) {
        const char* a = argv[i];
        if (strcmp(a, "--help") == 0) {
            fputs(usage_text, stdout);
            return 0;
        }
        if (strcmp(a, "--version") == 0) {
            printf("nxdis, icode version %d\n", icode_version);
            return 0;
        }
        if (strcmp(a, "--source") == 0)
            options.source = true;
        else if (a[0] == '-' && a[1] != 0)
            return fail(a, "unknown option; --help lists them");
        else if (file != nullptr)
            return fail(a, "only one file can be shown");
        else
            file = a;
    }
    if (file == nullptr) {
        fputs(usage_text, stderr);
        return 1;
    }
    std::string bytes;
    if (!nxtext::read_whole_file(file, bytes)) return fail(file, "cannot be read");
    try {
        nxtext::DOCUMENT doc = nxtext::decode(bytes);
        const std::string text = nxtext::print(doc, options);
        if (fwrite(text.data(), 1, text.size(), stdout) != text.size() || fflush(stdout) != 0)
            return fail(file, "the text cannot be written");
        if (nxtext::encode(doc) != bytes)
            fprintf(stderr, "nxdis: note: %s: the text says the same, but the file is not in the writers' own form\n",
                    file);
    } catch (const nxtext::file_fault& f) {
        return fail(file,
                    f.offset != 0 ? std::string(f.what()) + " (at offset " + std::to_string(f.offset) + ")" : f.what());
    } catch (const std::exception& e) { return fail(file, e.what()); }
    return 0;
}
