// libFuzzer target: any bytes as the input file of the whole optimizer.
//
// The last byte picks the level, the rest is the file. Whatever the bytes are, the run must end with status 0 and an
// output that can be read again, or with status 1 and no output. The validators run after every step.
#include "driver/nxopt.h"
#include "driver/safealloc.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// Files in memory: the names are the process's own, so that targets running side by side do not meet.
std::string scratch_name(const char* what) { return "/dev/shm/nxfuzz-" + std::to_string(getpid()) + "." + what; }

void put(const std::string& name, const uint8_t* data, size_t size) {
    FILE* file = fopen(name.c_str(), "wb");
    if (file == nullptr || fwrite(data, 1, size, file) != size || fclose(file) != 0) {
        perror(name.c_str());
        abort();
    }
}

// One run of the program; its exit status.
int run_nxopt(const char* level, const std::string& in, const std::string& out) {
    std::string words[] = {"nxopt", std::string("--opt_level=") + level, "--enable:verify", in, out};
    char* argv[6] = {};
    for (int i = 0; i < 5; i++) argv[i] = words[i].data();
    int status;
    try {
        status = nxopt_main(5, argv);
    } catch (const run_ended& end) {
        status = end.status;
    }
    reset_run_state();
    return status;
}

void demand(bool holds, const char* what) {
    if (holds) return;
    fprintf(stderr, "fuzz_nxopt: %s\n", what);
    abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const char* const levels[] = {"off", "0", "1", "2", "3", "4"};
    if (size < 2) return 0;
    static const std::string in = scratch_name("ic"), out = scratch_name("opt"), again = scratch_name("again");
    const char* level = levels[data[size - 1] % 6];
    put(in, data, size - 1);
    int status = run_nxopt(level, in, out);
    demand(status == 0 || status == 1, "the exit status is neither 0 nor 1");
    demand((access(out.c_str(), F_OK) == 0) == (status == 0), "an output file goes with status 0 and with nothing else");
    if (status == 0) {
        demand(run_nxopt("off", out, again) == 0, "the output cannot be read again");
        unlink(again.c_str());
    }
    unlink(out.c_str());
    unlink(in.c_str());
    return 0;
}
