// VM: runs a program. One activation of run() is one activation of an interpreted function called from outside (main,
// or a comparison function called back by the library); calls inside the program do not nest on the host's stack.
#ifndef NXRUN_EXEC_H
#define NXRUN_EXEC_H

#include "bytecode.h"
#include "streams.h"

#include <functional>

// Ends a run with its place: what TRAP becomes once the dispatch loop has added function and position.
struct TRAPPED {
    std::string text; // "file:line:column: in function: cause", then the calls that led there, a line each
};

struct LIBRARY_STATE;

struct VM_OPTIONS {
    bool count = false;    // the program was compiled with counters
    int64_t max_steps = 0; // executed nodes; 0: no limit
    bool strict = false;   // report conversions out of range
    LIBRARY_OPTIONS library;
};

class VM {
  public:
    VM(PROGRAM&, MEMORY&, const VM_OPTIONS&);
    ~VM();
    VM(const VM&) = delete;
    VM& operator=(const VM&) = delete;

    // Runs main with the arguments given and then the functions registered with atexit. Returns the exit status;
    // throws TRAPPED. Output is flushed in every case.
    int run_main(const std::vector<std::string>& args);

    // Calls a function of the program from a library function; `args` are as in its slots. Returns slot 0.
    int64_t call_back(ADDRESS function, const SIGNATURE& as, std::initializer_list<int64_t> args);

    // setjmp and longjmp: notes in four units of 32 bits at `env` where the running call stands, so that it can come
    // back with another value; traps if the function has returned since.
    void mark_place(ADDRESS env);
    [[noreturn]] void jump_to_place(ADDRESS env, int64_t value);

    COUNTS counts() const; // of the run so far

    // Writes to standard output (1) or standard error (2). Standard output is gathered and given out in pieces.
    void write(int stream, const char* text, size_t n);
    void flush();
    int read_char() { return on_input(); } // from standard input; -1 at the end

    PROGRAM& program;
    MEMORY& mem;
    const VM_OPTIONS options;
    std::function<void(int, const char*, size_t)> on_output; // default: the process's own streams
    std::function<int()> on_input;

    std::unique_ptr<LIBRARY_STATE> library; // state of library functions
    int write_error = 0;

  private:
    struct FRAME {
        const FUNCTION* function;
        const INSN* pc; // instruction that runs, or the call that is under way
        int64_t* slots;
        ADDRESS memory;
        uint32_t mark = 0; // not 0: longjmp may come back to this activation, which has the number
    };
    static constexpr size_t slot_limit = size_t{1} << 24;  // 64-bit slots of all frames together
    static constexpr size_t frame_limit = size_t{1} << 20; // nested calls
    static constexpr int host_limit = 200;                 // nested activations of run()

    void run(const FUNCTION*, int64_t* slots);
    void enter(const FUNCTION*, int64_t* slots);
    const INSN* return_to(const LONG_JUMP&);
    const FUNCTION* callee_of(int64_t address, const SIGNATURE& as, int64_t* args);
    [[noreturn]] void raise(const TRAP&);
    std::string position_text(const FRAME&) const;
    void note_saturation();
    ADDRESS place_arguments(const std::vector<std::string>& args);

    int64_t* slots_; // [slot_limit]
    std::vector<FRAME> frames_;
    ADDRESS memory_top_;            // first unit of the stack that is not in use
    std::vector<uint64_t> entered_; // how often each block was entered
    COUNTS dynamic_;                // what only the run knows: lengths of block copies
    int64_t steps_left_;
    int host_depth_ = 0;
    int notes_ = 0;
    uint32_t marks_ = 0; // activations that were given a mark
    std::string output_;
};

#endif
