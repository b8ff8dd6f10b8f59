#include "driver/close_globals.h"

#include "icode/if.h"
#include "icode/opt_client.h"
#include "icode/write.h"
#include "ir/funinfo.h"
#include "ir/infix.h"
#include "ir/symbol.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <cstring>
#include <string>

namespace {

// Nothing inside or outside the file needs the symbol any more.
bool is_dead(const SYMTAB* sym) {
    if (sym->sclass != SC_EXTERN_DEF && sym->sclass != SC_STATIC) return false;
    if (symbol_has_pragma(sym, PRAGMA::PRAGMA_SYM_IS_REFERENCED) != nullptr) return false;
    if (sym->otype->is_func()) {
        const FUNINFO* f = find_FUNINFO_for_symbol(sym);
        constexpr uint32_t needed =
            FUN_is_pragma_EXT | FUN_is_processed | FUN_is_anonymous | FUN_is_interrupt | FUN_is_main;
        return f != nullptr && function_is_defined(f) && (f->flags & needed) == 0;
    }
    return (sym->scqual & CQ_REFERENCED) == 0 && sym->sclass == SC_STATIC && no_outside_writers;
}

void close_symbol(SYMTAB* sym) {
    if (sym->flags & SYM_PROMOTED) sym->sclass = sym->sclass == SC_EXTERN_DEF ? SC_PROMOTED_EXTERN : SC_PROMOTED_STATIC;
    revert_symbol_type(sym);
    if (!is_dead(sym)) return;
    auto* dead = new PRAGMA(PRAGMA::PRAGMA_SYM_IS_DEAD);
    dead->next = sym->pragmas;
    sym->pragmas = dead;
}

void log_pragma(const PRAGMA* p) {
    switch (p->kind) {
    case PRAGMA::PRAGMA_SRC_LANGUAGE: return dprintf("\t  Symbol pragma: SOURCE LANGUAGE = '%s'\n", p->arg(0));
    case PRAGMA::PRAGMA_SCOPING_FUNC: return dprintf("\t  Symbol pragma: SYMBOL IS LOCAL STATIC OF %s()\n", p->arg(0));
    case PRAGMA::PRAGMA_TRANSLATION_UNIT_ID: return dprintf("\t  Symbol pragma: TRANSLATION UNIT ID #%s\n", p->arg(0));
    case PRAGMA::PRAGMA_IS_CLASS_MEMBER: return dprintf("\t  Symbol pragma: SYMBOL IS CLASS MEMBER\n");
    case PRAGMA::PRAGMA_SYM_IS_DEAD: return dprintf("\t  Symbol pragma: SYMBOL IS DEAD\n");
    case PRAGMA::PRAGMA_COMDAT_GROUP: return dprintf("\t  Symbol pragma: COMDAT GROUP %s\n", p->arg(0));
    case PRAGMA::PRAGMA_FUNC_IS_CTOR_DTOR:
        if (strcmp(p->arg(0), "C") == 0) return dprintf("\t  Symbol pragma: SYMBOL IS CONSTRUCTOR\n");
        if (strcmp(p->arg(0), "D") == 0) return dprintf("\t  Symbol pragma: SYMBOL IS DESTRUCTOR\n");
        return dprintf("\t  Symbol pragma: SYMBOL IS CONSTRUCTOR/DESTRUCTOR\n");
    case PRAGMA::PRAGMA_FUNC_ESPEC:
        dprintf("\t  Symbol pragma: EXCEPTION SPEC: (");
        for (const std::string& text : p->strings) dprintf(" %s", text.c_str());
        return dprintf(" )\n");
    case PRAGMA::PRAGMA_FUNC_SYNONYM:
        return dprintf("\t  Symbol pragma: SYMBOL IS FUNCTION SYNONYM of %s\n", p->arg(0));
    case PRAGMA::PRAGMA_FUNC_RET_BY_CCTOR: return dprintf("\t  Symbol pragma: FUNC_RET_BY_CCTOR\n");
    case PRAGMA::PRAGMA_FUNC_ALWAYS_INLINE: return dprintf("\t  Symbol pragma: FUNCTION ALWAYS INLINE\n");
    default:
        dprintf("\t  Symbol pragma #%d has %d arguments:", static_cast<int>(p->kind),
                static_cast<int>(p->strings.size()));
        for (const std::string& text : p->strings) dprintf(" %s", text.c_str());
        return dprintf("\n");
    }
}

void log_globals() {
    if (!print_debug) return;
    dprintf("Global symbols\n\n-- variable -- size -- offset/class/scqual/aln/stype;\n");
    for (const SYMTAB* sym = global_symbols; sym != nullptr; sym = sym->next) {
        dprintf("%c   %-11.32s %2ld\t%4ld   %2d  %#6x  %2ld %-16s", '#', sym->name, static_cast<long>(sym->size),
                static_cast<long>(sym->offset), sym->sclass, sym->scqual, static_cast<long>(sym->aln),
                sym->type->print().c_str());
        dprintf("\t; (%d,%d)\n", static_cast<int>(sym->depth), static_cast<int>(sym->index));
        if (sym->init != nullptr)
            for (const EXPR_CELL* cell = sym->init->head; cell != nullptr; cell = cell->next)
                dprintf("\t  %s\n", tree2infix(cell->node).c_str());
        for (const PRAGMA* p = sym->pragmas; p != nullptr; p = p->next) log_pragma(p);
    }
}

} // namespace

void close_globals() {
    for (SYMTAB* sym = global_symbols; sym != nullptr; sym = sym->next) close_symbol(sym);
    log_globals();
    for (SYMTAB* sym = global_symbols; sym != nullptr; sym = sym->next) {
        if (sym->init == nullptr) continue;
        o_file->if_write_init(sym);
        for (EXPR_CELL* cell = sym->init->head; cell != nullptr; cell = cell->next) {
            if (pass_hooks.insert_mandatory_casts != nullptr)
                cell->node = pass_hooks.insert_mandatory_casts(cell->node);
            wrtree(cell->node);
        }
    }
}
