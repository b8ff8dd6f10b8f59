// nxrun: executes an icode file.
#include "driver/safealloc.h"
#include "load.h"
#include "nxrun.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

const char* const usage =
    "usage: nxrun [options] FILE [arguments of the program]\n"
    "       nxrun [options] FILE FILE... [-- arguments of the program]\n"
    "Executes the icode file FILE. Further icode files right behind it are linked to it. What follows them, or stands\n"
    "behind '--', are the program's arguments. The exit status is the program's.\n"
    "\n"
    "  --files=DIR       the program may open, make, rename and remove files below DIR; without it none\n"
    "  --env=NAME=VALUE  what getenv finds; may be given several times\n"
    "  --epoch=SECONDS   what time() begins with, in seconds since 1970; 946684800 (the year 2000) without it\n"
    "  --count[=NAME]    count what is executed; JSON to standard error, or to the file NAME\n"
    "  --max-steps=N     stop after N executed tree nodes\n"
    "  --time            report on standard error how many tree nodes ran in what time\n"
    "  --check-asserts   evaluate the assertions of the file; a false one stops the run\n"
    "  --strict          operands of differing types are an error; report float conversions out of range\n"
    "  --trap-overflow   stop at an overflow of signed arithmetic\n"
    "  --help            this text\n"
    "  --version         the version\n"
    "\n"
    "Exit status 1: the file cannot be run. 3: the run was stopped (null pointer, out of object, undefined\n"
    "value, division by zero, step limit, stack overflow, ...); standard error says where and why.\n";

int bad_usage(const std::string& what) {
    fprintf(stderr, "nxrun: %s\nTry 'nxrun --help'.\n", what.c_str());
    return 1;
}

bool has_prefix(const char* text, const char* prefix, const char*& rest) {
    size_t n = strlen(prefix);
    if (strncmp(text, prefix, n) != 0) return false;
    rest = text + n;
    return true;
}

bool write_counts(const COUNTS& counts, const std::string& to) {
    std::string text = counts.json();
    FILE* f = to.empty() ? stderr : fopen(to.c_str(), "w");
    if (f == nullptr) return false;
    bool good = fwrite(text.data(), 1, text.size(), f) == text.size();
    if (!to.empty() && fclose(f) != 0) good = false;
    if (!good && !to.empty()) remove_output_file(to.c_str());
    return good;
}

int run_tool(int argc, char** argv) {
    RUN_OPTIONS options;
    std::string count_file;
    bool show_counts = false, show_time = false;
    int i = 1;
    for (; i < argc && argv[i][0] == '-' && argv[i][1] != 0; ++i) {
        const char* arg = argv[i];
        const char* rest = nullptr;
        if (strcmp(arg, "--help") == 0) {
            fputs(usage, stdout);
            return 0;
        }
        if (strcmp(arg, "--version") == 0) {
            puts("nxrun 1.0");
            return 0;
        }
        if (strcmp(arg, "--") == 0) {
            ++i;
            break;
        }
        if (strcmp(arg, "--count") == 0) {
            show_counts = true;
        } else if (has_prefix(arg, "--count=", rest) && *rest != 0) {
            show_counts = true;
            count_file = rest;
        } else if (has_prefix(arg, "--max-steps=", rest)) {
            char* end = nullptr;
            options.max_steps = strtoll(rest, &end, 10);
            if (*rest == 0 || *end != 0 || options.max_steps <= 0)
                return bad_usage("--max-steps wants a positive number");
        } else if (has_prefix(arg, "--files=", rest) && *rest != 0) {
            options.library.files = rest;
        } else if (has_prefix(arg, "--env=", rest) && strchr(rest, '=') != nullptr) {
            options.library.environment.push_back(rest);
        } else if (has_prefix(arg, "--epoch=", rest)) {
            char* end = nullptr;
            options.library.epoch = strtoll(rest, &end, 10);
            if (*rest == 0 || *end != 0 || options.library.epoch != static_cast<int32_t>(options.library.epoch))
                return bad_usage("--epoch wants a number of 32 bits");
        } else if (strcmp(arg, "--time") == 0) {
            show_time = true;
        } else if (strcmp(arg, "--check-asserts") == 0) {
            options.check_asserts = true;
        } else if (strcmp(arg, "--strict") == 0) {
            options.strict = true;
        } else if (strcmp(arg, "--trap-overflow") == 0) {
            options.trap_overflow = true;
        } else {
            return bad_usage(std::string("unknown option '") + arg + "'");
        }
    }
    if (i >= argc) return bad_usage("no file given");
    std::vector<std::string> files{argv[i]};
    options.args.push_back(argv[i++]);
    while (i < argc && is_icode_file(argv[i])) files.push_back(argv[i++]);
    if (i < argc && strcmp(argv[i], "--") == 0) ++i;
    for (; i < argc; ++i) options.args.push_back(argv[i]);
    if (!HOST_FOLDER(options.library.files).is_good())
        return bad_usage("'" + options.library.files + "' is no folder that can be opened");

    options.count = show_counts || show_time;
    auto begin = std::chrono::steady_clock::now();
    RUN_RESULT result = run_icode_files(files, options);
    std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    fflush(stdout);
    if (result.how != RUN_RESULT::RAN) fprintf(stderr, "nxrun: %s\n", result.message.c_str());
    if (show_time && result.how != RUN_RESULT::BAD)
        fprintf(stderr, "nxrun: %llu nodes in %.3f s, %.0f million a second\n",
                static_cast<unsigned long long>(result.counts.nodes), seconds.count(),
                static_cast<double>(result.counts.nodes) / seconds.count() / 1e6);
    if (show_counts && result.how != RUN_RESULT::BAD && !write_counts(result.counts, count_file)) {
        fprintf(stderr, "nxrun: '%s' cannot be written\n", count_file.c_str());
        return 1;
    }
    return result.status;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run_tool(argc, argv);
    } catch (const std::bad_alloc&) {
        fputs("nxrun: out of memory\n", stderr);
        return status_of_bad_file;
    }
}
