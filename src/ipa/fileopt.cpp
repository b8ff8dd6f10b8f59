#include "ipa/fileopt.h"

#include "ir/funinfo.h"
#include "ir/vars.h"

void init_fileopts() {
    if (opt_level() > 2) {
        no_outside_callers = program_mode != 0 && program_mode != 3;
        no_outside_writers = program_mode != 0 && program_mode != 1;
    } else {
        program_mode = 0;
        no_outside_callers = no_outside_writers = false;
    }
    fileinfo = new FILEINFO;
    fileinfo->anonymous_fun = make_FUNINFO(" ? ");
    currfuninfo = nullptr;
}

// Every defined function stands in the order, the one read last first: taken from behind, as the pipeline does, each is
// worked on in the order of the file. No function is suppressed, since no call is integrated.
void analyze_call_graph() {
    fileinfo->cg_order = nullptr;
    for (SYMTAB* function : functions) {
        FUNINFO* f = make_FUNINFO(skip_name_prefix(function->name));
        fileinfo->fundefs = mkFUNLIST(f, fileinfo->fundefs);
        fileinfo->cg_order = mkFUNLIST(f, fileinfo->cg_order);
    }
    fileinfo->cg_order = mkFUNLIST(fileinfo->anonymous_fun, fileinfo->cg_order);
}
