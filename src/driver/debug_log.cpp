#include "driver/debug_log.h"

#include "driver/dump.h"
#include "driver/filename.h"
#include "driver/open_files.h"
#include "driver/safealloc.h"
#include "icode/if.h"
#include "icode/opt_client.h"
#include "ir/funinfo.h"
#include "ir/infix.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <cerrno>
#include <cstring>
#include <set>
#include <string>

namespace {

FILE* log_before;                       // the log that was open before a function's own
std::set<std::string> functions_logged; // names of the functions' logs of this run
constexpr size_t log_name_limit = 250;

} // namespace

void open_debug_file(int exit_on_failure, const char* suffix) {
    if (fdebug != nullptr && suffix == nullptr) return;
    std::string name = fn_delext(i_file_name);
    if (suffix != nullptr) name += std::string("_") + suffix;
    if (name.size() > log_name_limit) name.resize(log_name_limit);
    name += ".odb";
    if (fdebug != nullptr) dprintf(">>>> SWITCHING LOG TO %s\n", name.c_str());
    // A function comes by twice: its log goes on.
    bool goes_on = suffix != nullptr && !functions_logged.insert(name).second;
    FILE* log = fopen(name.c_str(), goes_on ? "a" : "w");
    if (log == nullptr) {
        fprintf(stderr, "\n>> Cannot Open Debug File, %s : %s, Aborting\n", strerror(errno), name.c_str());
        if (exit_on_failure) end_run(1);
        log = stderr;
    }
    fdebug = log;
}

void close_debug_file() {
    close_function_log();
    functions_logged.clear();
    log_before = nullptr;
    if (fdebug == nullptr) return;
    if (print_debug) dprintf("\n== END OF DEBUG OUTPUT==\n");
    if (fdebug != stderr) fclose(fdebug);
    fdebug = nullptr;
}

void write_debug_header() {
    if (!print_debug) return;
    log_before = fdebug;
    if (pass_debug("split_odb")) open_debug_file(1, currfunc->name);
    dump_function_header();
    dump_function_records();
    if (write_opt_info && finfo != nullptr)
        fputs("\n==============================================================================\n", finfo);
    if ((currfuninfo->flags & FUN_is_unsuppressed) && opt_level() > 2)
        dprintf("\n!!! %s() (%s) must be unsuppressed !!!\n\n", currfuninfo->name, currfunc->otype->print().c_str());
}

void close_function_log() {
    if (log_before == nullptr || fdebug == log_before) return;
    if (fdebug != nullptr && fdebug != stderr) fclose(fdebug);
    fdebug = log_before;
}

void dump_function_header() {
    if (!print_debug || currfunc == nullptr) return;
    printf("   \"%s\"   ==> %s\n", curr_file, currfunc->name);
    fflush(stdout);
    dprintf("\n;; function %s, file \"%s\"\n", currfunc->name, curr_file);
    if (currfunc->option_set == 0) return;
    for (const OPTION_SET& set : icode_optionlist) {
        if (set.number != currfunc->option_set) continue;
        for (const std::string& text : set.strings) dprintf("\t%s\n", text.c_str());
    }
}

void prbbinfix() {
    for (BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink) {
        dprintf("\nBB%d", bb->dfn);
        for (LBL* label = bb->labels; label != nullptr; label = label->next) dprintf(" %s", label2infix(label).c_str());
        dprintf("   preds:");
        for (EDGE* e = bb->preds; e != nullptr; e = e->next) dprintf(" BB%d", e->bb->dfn);
        dprintf("   succs:");
        for (EDGE* e = bb->succs; e != nullptr; e = e->next) dprintf(" BB%d", e->bb->dfn);
        dprintf("\n");
        prlist1(bb->stmts);
    }
}

FILE* outer_debug_log() { return log_before != fdebug ? log_before : nullptr; }
