// Is a file well formed? The order of records, tables, declarations, labels and initialisers; check_tree.cpp looks into
// the trees.
#include "checker.h"

#include <algorithm>
#include <set>

namespace nxtext {

std::vector<std::string> check(const DOCUMENT& doc) {
    CHECKER c(doc);
    c.run();
    return std::move(c.faults);
}

void CHECKER::run() {
    type_records();
    scope.all_globals();
    for (size_t i = 0; i < doc.globals.size(); i++) {
        where = "global " + quote_name(doc.globals[i].name) + ": ";
        symbol(doc.globals[i], false);
    }
    for (const ITEM& i : doc.inits) initialiser(i);
    where.clear();
    for (const ITEM& i : doc.body) item(i);
    where.clear();
    if (scope.function >= 0) fault("the last function has no end");
}

// --------------------------------------------------------------------------------------------------------------- types

// Every type is defined once, and before it is used, except that a list may name its owner.
void CHECKER::type_records() {
    std::map<uint32_t, std::set<uint32_t>> open; // lists by owner
    for (const TYPE_REC& r : doc.types) {
        where = "type " + std::to_string(r.ref) + ": ";
        std::string layout;
        if (!type_layout(r.kind, icode_version, layout)) {
            fault("record kind " + std::to_string(r.kind) + " is not known");
            continue;
        }
        size_t field = 0;
        for (char c : layout) {
            if (c == 'n' || c == 'p') continue;
            const uint32_t t = field < r.v.size() ? r.v[field] : 0;
            field++;
            if (c == 't' && !types.defined(t)) fault("type " + std::to_string(t) + " is used before it is defined");
        }
        const bool element = (r.kind >= TK_PARAM && r.kind != TK_ENUM && r.kind < TK_CSU) ||
                             (r.kind >= TK_MEMBER && r.kind <= TK_METHOD) || r.kind >= TK_LIST;
        if (element) {
            if (!types.defined(r.ref)) fault("a list stands before its type");
            if (r.kind == TK_LIST && !open[r.ref].insert(r.v[0]).second) fault("the list is open already");
            if (r.kind == TK_END_LIST && open[r.ref].erase(r.v[0]) == 0) fault("a list ends that is not open");
            if (r.kind < TK_LIST && open[r.ref].empty()) fault("an element stands outside of a list");
        } else if (types.defined(r.ref) || r.ref == 0) {
            fault("it is defined twice");
        }
        if (r.kind == TK_FUNCTION) open[r.ref]; // its list follows
        types.apply(r);
    }
    for (const auto& [ref, lists] : open) {
        where = "type " + std::to_string(ref) + ": ";
        if (!lists.empty()) fault("a list has no end");
        if (types.facts(ref).open) fault("the function type has no parameter list");
    }
}

// ------------------------------------------------------------------------------------------------------------- symbols

void CHECKER::symbol(const SYMBOL_REC& s, bool local) {
    if (s.name.empty()) fault("the name is empty");
    if (!defined(s.type)) return fault("its type is not defined");
    if (s.type2 != 0 && !types.defined(s.type2)) fault("its second type is not defined");
    const TYPE_FACTS& f = types.facts(types.unqualified(s.type));
    const uint32_t size = f.kind == TK_FUNCTION ? 0 : types.facts(s.type).size;
    if (s.size != size) fault("its size is " + std::to_string(s.size) + ", that of its type " + std::to_string(size));
    if (s.aln < types.facts(s.type).align) fault("its alignment is below that of its type");
    if (!local) return;
    static const std::set<uint8_t> local_classes{1, 4, 6, 9, 17, 22, 27};
    if (local_classes.count(s.sclass) == 0) fault("class " + std::to_string(s.sclass) + " is none of a local symbol");
    const bool parameter_class = s.sclass == 9 || s.sclass == 17 || s.sclass == 27;
    if ((scope.depth == 1) != parameter_class)
        fault(scope.depth == 1 ? "its class is not that of a parameter" : "its class is that of a parameter");
}

void CHECKER::place(const POS& p) {
    if (p.file > doc.files.size())
        fault("the position is in file " + std::to_string(p.file) + ", which is not in the table");
}

// ---------------------------------------------------------------------------------------------------------------- body

void CHECKER::end_function() {
    for (const auto& [number, uses] : labels_used)
        if (labels_defined.count(number) == 0) fault("label L" + std::to_string(number) + " is not defined");
    for (const auto& [number, times] : labels_defined)
        if (times > 1) fault("label L" + std::to_string(number) + " is defined " + std::to_string(times) + " times");
    labels_used.clear();
    labels_defined.clear();
    scope.end_function();
}

void CHECKER::item(const ITEM& i) {
    const bool outside = scope.function < 0;
    const std::string function =
        outside ? "" : "function " + quote_name(doc.globals[static_cast<size_t>(scope.function)].name) + ": ";
    where = function;
    place(i.pos);
    switch (i.id) {
    case REC_BEGIN_FUNC: {
        if (!outside) fault("a function begins inside of it");
        if (i.number >= doc.globals.size()) return fault("a function begins for a global that does not exist");
        const SYMBOL_REC& s = doc.globals[i.number];
        where = "function " + quote_name(s.name) + ": ";
        if (types.facts(types.unqualified(s.type)).kind != TK_FUNCTION) fault("its symbol is no function");
        if (s.sclass != 2 && s.sclass != 3) fault("its symbol is not of a class that is defined");
        scope.begin_function(i.number);
        statements = 0;
        prolog_possible = true;
        return;
    }
    case REC_ASM:
    case REC_COMMENT:
    case REC_PRAGMA:
    case REC_SOURCE:
    case REC_FUNC_INFO: return;
    default: break;
    }
    if (outside) return fault("a record of id " + std::to_string(i.id) + " stands outside of the functions");
    switch (i.id) {
    case REC_END_FUNC:
        if (scope.in_block()) fault("it ends with a block still open");
        end_function();
        return;
    case REC_BEGIN_BLOCK: scope.begin_block(); return;
    case REC_END_BLOCK:
        if (!scope.end_block()) fault("a block ends that has not begun");
        return;
    case REC_END_ARGS:
        if (scope.depth != 1) fault("the parameters end twice");
        scope.end_args();
        return;
    case REC_SYMBOL:
        where = function + "symbol " + quote_name(i.symbol->name) + ": ";
        symbol(*i.symbol, true);
        scope.declare(*i.symbol);
        return;
    case REC_LABEL:
        if (i.number == 0) fault("label 0 is none");
        labels_defined[i.number]++;
        prolog_possible = false;
        return;
    case REC_STMT: {
        statements++;
        where = function + "statement " + std::to_string(statements);
        if (i.pos.file != 0 && i.pos.file <= doc.files.size())
            where += " (" + doc.files[i.pos.file - 1] + ":" + std::to_string(i.pos.line) + ":" +
                     std::to_string(i.pos.column) + ")";
        where += ": ";
        if (scope.depth == 1) fault("it stands among the parameters");
        if (i.tree.root < 0) return fault("it has no tree");
        tree(i.tree, STATEMENT);
        prolog_possible = false;
        return;
    }
    case REC_EHT:
        for (const EHT_REC& e : i.eht) {
            if (e.cleanup.root >= 0) tree(e.cleanup, STATEMENT);
            for (const CATCH_REC& c : e.catches) labels_used[c.label]++;
        }
        return;
    case REC_NODE: fault("a node stands outside of a statement"); return;
    case REC_INIT: fault("an initialiser stands in a function"); return;
    default: return;
    }
}

// -------------------------------------------------------------------------------------------------------- initialisers

// Constants that the linker can place: numbers, literals, addresses of globals with an offset.
bool CHECKER::link_constant(const TREE& t, int n) {
    for (;;) {
        switch (t[n].op) {
        case ICON:
        case FCON:
        case LCON:
        case SCON: return true;
        case COMPLEX:
            if (!link_constant(t, t[n].right)) return false;
            n = t[n].left;
            break;
        case SCONV:
        case PCONV: n = t[n].left; break;
        case PLUS:
            if (t[t[n].right].op != ICON) return false;
            n = t[n].left;
            break;
        case UAND: {
            int object = t[n].left;
            while (t[object].op == STDOT) object = t[object].left;
            return t[object].op == NAME && t[object].f[0] == 0 && t[object].f[1] < doc.globals.size();
        }
        default: return false;
        }
    }
}

void CHECKER::initialiser(const ITEM& i) {
    where = "initialiser: ";
    if (i.number >= doc.globals.size()) return fault("it is for a global that does not exist");
    const SYMBOL_REC& s = doc.globals[i.number];
    where = "initialiser of " + quote_name(s.name) + ": ";
    uint64_t bits = 0;
    for (const TREE& t : i.list) {
        const ENODE& e = t[t.root];
        if (e.op == ENDINIT) continue;
        if (e.op == SKIP) {
            bits += 16ULL * e.f[0];
            continue;
        }
        if (!defined(e.type)) {
            fault("a value has no type");
            continue;
        }
        tree(t, VALUE);
        if (!link_constant(t, t.root)) fault("a value is no constant that a linker can place");
        bits += types.facts(e.type).size;
    }
    if (bits > s.size)
        fault("its values take " + std::to_string(bits) + " bits, the object has " + std::to_string(s.size));
}

} // namespace nxtext
