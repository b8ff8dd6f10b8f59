// The interpreter as a library: see nxrun.h.
#include "nxrun.h"

#include "exec.h"
#include "gen.h"
#include "library.h"

#include <cstring>
#include <new>

namespace {

void run_program(PROGRAM& program, MEMORY& memory, const RUN_OPTIONS& options, RUN_RESULT& result) {
    VM_OPTIONS vm_options;
    vm_options.count = options.count;
    vm_options.max_steps = options.max_steps;
    vm_options.strict = options.strict;
    vm_options.library = options.library;
    VM vm(program, memory, vm_options);
    size_t read = 0;
    if (options.capture) {
        vm.on_output = [&](int stream, const char* text, size_t n) {
            (stream == 2 ? result.errors : result.output).append(text, n);
        };
        vm.on_input = [&] {
            return read < options.input.size() ? static_cast<unsigned char>(options.input[read++]) : -1;
        };
    }
    auto trapped = [&](const std::string& message) {
        result.how = RUN_RESULT::TRAPPED_;
        result.status = status_of_trap;
        result.message = message;
    };
    try {
        result.status = vm.run_main(options.args);
    } catch (const TRAPPED& t) { trapped(t.text); } catch (const TRAP& t) {
        trapped(t.cause);
    }
    if (!vm.library->streams.flush_all() && result.how == RUN_RESULT::RAN) trapped("a file cannot be written");
    if (vm.write_error != 0 && result.how == RUN_RESULT::RAN) trapped("standard output cannot be written");
    if (options.count) result.counts = vm.counts();
}

RUN_RESULT run_unit(UNIT unit, const RUN_OPTIONS& options) {
    RUN_RESULT result;
    PROGRAM program;
    MEMORY memory;
    GEN_OPTIONS gen;
    gen.count = options.count;
    gen.steps = options.max_steps > 0;
    gen.check_asserts = options.check_asserts;
    gen.strict = options.strict;
    gen.trap_overflow = options.trap_overflow;
    program.reads_ahead = unit.optimized;
    PROGRAM_GEN(unit, program, memory, gen).compile();
    run_program(program, memory, options, result);
    return result;
}

template <typename LOAD> RUN_RESULT run_loaded(LOAD&& load, const RUN_OPTIONS& options) {
    RUN_RESULT result;
    result.how = RUN_RESULT::BAD;
    result.status = status_of_bad_file;
    try {
        return run_unit(load(), options);
    } catch (const BAD_FILE& bad) { result.message = bad.text; } catch (const std::bad_alloc&) {
        result.message = "out of memory";
    }
    return result;
}

} // namespace

RUN_RESULT run_icode_files(const std::vector<std::string>& paths, const RUN_OPTIONS& options) {
    return run_loaded(
        [&] {
            std::vector<UNIT> units;
            for (const std::string& path : paths) units.push_back(load_unit(path));
            return link_units(std::move(units));
        },
        options);
}

RUN_RESULT run_icode(const void* bytes, size_t size, const std::string& name, const RUN_OPTIONS& options) {
    return run_loaded(
        [&] {
            FILE* stream = size != 0 ? fmemopen(const_cast<void*>(bytes), size, "rb") : nullptr;
            if (stream == nullptr) throw BAD_FILE{name + ": empty, or not enough memory"};
            return load_unit(stream, name);
        },
        options);
}
