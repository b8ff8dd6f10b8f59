#include "driver/nxopt.h"

#include "cfg/bbutils.h"
#include "diag/diagnostic.h"
#include "driver/close_globals.h"
#include "driver/debug_switches.h"
#include "driver/open_files.h"
#include "driver/option_sets.h"
#include "driver/safealloc.h"
#include "driver/step_actions.h"
#include "driver/steps.h"
#include "icode/if.h"
#include "icode/opt_client.h"
#include "icode/write.h"
#include "ipa/fileopt.h"
#include "ir/funinfo.h"
#include "ir/opcodes.h"
#include "ir/symbol.h"
#include "ir/types.h"
#include "ir/vars.h"
#include "simp/rules.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>

namespace {

// What an internal fault leaves: no output file, and a text that names the function.
void tell_abort(const char* text) {
    if (fdebug != nullptr && print_debug) {
        dprintf("\n>>>> Optimizer terminated abnormally.\n");
        if (text != nullptr) dprintf("\n>>>> %s.\n", text);
    }
    fputs("\n>>>> Optimizer terminated abnormally\n", stderr);
    if (currfunc != nullptr) {
        fprintf(stderr, ">>>>    in function %s()\n", currfunc->name);
        if (currfuninfo != nullptr && currfuninfo->first_psn != nullptr && currfuninfo->first_psn->file != nullptr)
            fprintf(stderr, ">>>>    in file \"%s\"\n", currfuninfo->first_psn->file);
    }
    if (text != nullptr) fprintf(stderr, "\n>>>> %s.\n", text);
    discard_files();
    if (pass_debug("abort")) abort();
}

void leave_nothing_behind(int status) {
    if (status != 0) discard_files();
}

void optimize() {
    build_step_table();
    user_error_count = 0;
    function_prepass = true;
    fileinfo->pass_number = 1;
    i_file->if_read_file();
    if (functions.empty())
        step_intermission();
    else {
        make_last_step();
        run_scheduler();
    }
    dump_psnrefs();
    close_globals();
    interned_stats();
    if (pass_debug("simp_stats") != 0) print_simp_stats(stdout);
}

int run(int argc, char** argv) {
    open_files(argc, argv);
    init_opcode_tables();
    init_types();
    init_symbols();
    init_fileopts();
    install_pass_hooks();
    optimize();
    bool written = close_files();
    free_step_table();
    tp_release();
    return written ? 0 : 1;
}

} // namespace

int nxopt_main(int argc, char** argv) {
    abort_hook = tell_abort;
    end_run_hook = leave_nothing_behind;
    try {
        return run(argc, argv);
    } catch (const std::bad_alloc&) { abort_optimizer("ERROR - OUT OF MEMORY"); } catch (const std::exception& e) {
        fprintf(stderr, "Exception:  %s\n", e.what());
        end_run(1);
    }
}

void reset_run_state() {
    discard_files();
    free_step_table();
    reset_step_gate();
    currfunc = nullptr;
    currfuninfo = nullptr;
    fileinfo = nullptr;
    lex = 0;
    global_symbols = errno_symbol = nullptr;
    init_FUNINFO_table();
    icode_optionlist.clear();
    reset_opt_client();
    reset_options();
    DIAGNOSTIC::reset();
    clear_debug_switches();
    reset_simp_stats();
    tp_release(); // types of one run must not show up in the next one's output
}
