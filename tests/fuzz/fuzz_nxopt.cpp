// libFuzzer target: any bytes as the input file of the whole optimizer.
//
// The last byte picks the level, the rest is the file. Whatever the bytes are, the run must end with status 0 and an
// output that can be read again, or with status 1 and no output. The validators run after every step for one byte value
// in four: they cost far more than what they check.
#include "driver/nxopt.h"
#include "driver/safealloc.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// Files in memory, in the folder that the script makes for this run; the process id keeps jobs apart.
std::string scratch_name(const char* what) {
    const char* folder = getenv("NX_FUZZ_FOLDER");
    return std::string(folder != nullptr ? folder : "/dev/shm") + "/nxfuzz-" + std::to_string(getpid()) + "." + what;
}

void put(const std::string& name, const uint8_t* data, size_t size) {
    FILE* file = fopen(name.c_str(), "wb");
    if (file == nullptr || fwrite(data, 1, size, file) != size || fclose(file) != 0) {
        perror(name.c_str());
        abort();
    }
}

// One run of the program; its exit status.
int run_nxopt(const char* level, bool verify, const std::string& in, const std::string& out) {
    std::string words[] = {"nxopt", std::string("--opt_level=") + level, verify ? "--enable:verify" : "--disable:none",
                           in, out};
    char* argv[6] = {};
    for (int i = 0; i < 5; i++) argv[i] = words[i].data();
    int status;
    try {
        status = nxopt_main(5, argv);
    } catch (const run_ended& end) { status = end.status; }
    reset_run_state();
    return status;
}

// Standard error is closed while fuzzing, so each demand has a function of its own that the stack trace names.
[[gnu::noinline]] void status_must_be_0_or_1(int status) {
    if (status != 0 && status != 1) abort();
}
[[gnu::noinline]] void output_must_go_with_status_0(int status, const std::string& out) {
    if ((access(out.c_str(), F_OK) == 0) != (status == 0)) abort();
}
[[gnu::noinline]] void output_must_be_readable(int status) {
    if (status != 0) abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const char* const levels[] = {"off", "0", "1", "2", "3", "4"};
    if (size < 2) return 0;
    static const std::string in = scratch_name("ic"), out = scratch_name("opt"), again = scratch_name("again");
    uint8_t choice = data[size - 1];
    put(in, data, size - 1);
    int status = run_nxopt(levels[choice % 6], choice < 128, in, out);
    status_must_be_0_or_1(status);
    output_must_go_with_status_0(status, out);
    if (status == 0) {
        output_must_be_readable(run_nxopt("off", false, out, again));
        unlink(again.c_str());
    }
    unlink(out.c_str());
    unlink(in.c_str());
    return 0;
}
