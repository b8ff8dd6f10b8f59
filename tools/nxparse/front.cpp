// Declarations: what is emitted, under which name, with which class and pragmas.
#include "front.h"

#include <algorithm>

using namespace clang;

namespace {

// Names that the optimizer takes for library functions: a definition of such a name in the unit is marked as not
// conforming. In ascending order.
// clang-format off
const char* const system_names[] = {
    "__cxa_allocate_exception", "__cxa_begin_catch", "__cxa_end_catch", "__cxa_rethrow", "__cxa_throw", "_sqrt",
    "abort", "abs", "acos", "asctime", "asin", "atan", "atan2", "atexit", "atof", "atoi", "atol", "bsearch", "calloc",
    "ceil", "clearerr", "clock", "cos", "cosh", "ctime", "difftime", "div", "exit", "exp", "fabs", "fclose", "feof",
    "ferror", "fflush", "fgetc", "fgetpos", "fgets", "floor", "fmod", "fopen", "fprintf", "fputc", "fputs", "fread",
    "free", "freopen", "frexp", "fscanf", "fseek", "fsetpos", "ftell", "fwrite", "getc", "getchar", "getenv", "gets",
    "gmtime", "isalnum", "isalpha", "iscntrl", "isdigit", "isgraph", "islower", "isprint", "ispunct", "isspace",
    "isupper", "isxdigit", "labs", "ldexp", "ldiv", "localeconv", "localtime", "log", "log10", "longjmp", "malloc",
    "mblen", "mbstowcs", "mbtowc", "memchr", "memcmp", "memcpy", "memmove", "memset", "mktime", "modf", "perror",
    "pow", "printf", "putc", "putchar", "puts", "qsort", "raise", "rand", "realloc", "remove", "rename", "rewind",
    "scanf", "setbuf", "setjmp", "setlocale", "setvbuf", "signal", "sin", "sinh", "sprintf", "sqrt", "srand",
    "sscanf", "strcat", "strchr", "strcmp", "strcoll", "strcpy", "strcspn", "strerror", "strftime", "strlen",
    "strncat", "strncmp", "strncpy", "strpbrk", "strrchr", "strspn", "strstr", "strtod", "strtok", "strtol",
    "strtoul", "strxfrm", "system", "tan", "tanh", "time", "tmpfile", "tmpnam", "tolower", "toupper", "ungetc",
    "vfprintf", "vprintf", "vsprintf", "wcstombs", "wctomb"};
// clang-format on

bool is_system_name(llvm::StringRef name) {
    return std::binary_search(std::begin(system_names), std::end(system_names), name,
                              [](llvm::StringRef a, llvm::StringRef b) { return a < b; });
}

} // namespace

PSN* FRONT::position(SourceLocation where) {
    PresumedLoc p = ctx.getSourceManager().getPresumedLoc(ctx.getSourceManager().getExpansionLoc(where));
    if (p.isInvalid()) return nullptr;
    return new PSN(shared_text(p.getFilename()), p.getLine(), p.getColumn());
}

void FRONT::check_attributes(const Decl* d) {
    for (const Attr* a : d->attrs()) {
        switch (a->getKind()) {
        case attr::Cleanup:
        case attr::Alias:
        case attr::IFunc:
        case attr::Constructor:
        case attr::Destructor:
        case attr::Naked:
        case attr::AsmLabel:
        case attr::Packed:
        case attr::TransparentUnion:
            m.refuse(a->getLocation(), llvm::Twine("attribute '") + a->getSpelling() + "' is not supported");
        default: break;
        }
    }
}

uint32_t FRONT::alignment_of(const VarDecl* v) {
    uint32_t bits = 0;
    for (const auto* a : v->specific_attrs<AlignedAttr>()) {
        uint64_t units = 4;
        if (a->isAlignmentExpr() && a->getAlignmentExpr() != nullptr)
            units = m.int_constant(a->getAlignmentExpr(), "alignment").getZExtValue();
        else if (!a->isAlignmentExpr())
            units = m.type_of(a->getAlignmentType())->align_bits / 16;
        if (units > 4096 || (units & (units - 1)) != 0) m.refuse(a->getLocation(), "alignment is not supported");
        bits = std::max(bits, uint32_t(units * 16));
    }
    return bits;
}

void FRONT::common_pragmas(SYMTAB* sym, const NamedDecl* d) {
    if (d->hasAttr<UsedAttr>()) out.add_pragma(sym, PRAGMA::PRAGMA_SYM_IS_REFERENCED, {});
    if (d->hasAttr<WeakAttr>()) out.add_pragma(sym, PRAGMA::PRAGMA_NORVEX_WEAK, {});
    if (const auto* v = d->getAttr<VisibilityAttr>()) {
        const char* text = v->getVisibility() == VisibilityAttr::Hidden      ? "hidden"
                           : v->getVisibility() == VisibilityAttr::Protected ? "protected"
                                                                             : "default";
        out.add_pragma(sym, PRAGMA::PRAGMA_SYM_VISIBILITY, {text});
    }
}

void FRONT::function_pragmas(SYMTAB* sym, const FunctionDecl* f, bool defined) {
    if (defined) out.add_pragma(sym, PRAGMA::PRAGMA_SRC_LANGUAGE, {"C"});
    if (defined && is_system_name(f->getName())) out.add_pragma(sym, PRAGMA::PRAGMA_FUNC_IS_NONCONFORMING, {});
    if (f->hasAttr<NoReturnAttr>() || f->hasAttr<C11NoReturnAttr>() || f->isNoReturn())
        out.add_pragma(sym, PRAGMA::PRAGMA_FUNC_NEVER_RETURNS, {});
    if (f->hasAttr<NoInlineAttr>()) out.add_pragma(sym, PRAGMA::PRAGMA_FUNC_CANNOT_INLINE, {});
    if (f->hasAttr<AlwaysInlineAttr>()) out.add_pragma(sym, PRAGMA::PRAGMA_FUNC_ALWAYS_INLINE, {});
    if (f->hasAttr<ConstAttr>()) out.add_pragma(sym, PRAGMA::PRAGMA_FUNC_IS_PURE, {});
    if (const auto* s = f->getAttr<SectionAttr>())
        out.add_pragma(sym, PRAGMA::PRAGMA_CODE_SECTION, {s->getName().str()});
    common_pragmas(sym, f);
}

SYMTAB* FRONT::function_symbol(const FunctionDecl* f) {
    std::string name = "_" + f->getName().str();
    const FunctionDecl* definition = f->getDefinition();
    bool defined = definition != nullptr;
    if (auto found = linked.find(name); found != linked.end()) {
        if (!found->second->type->is_func()) m.refuse(f->getLocation(), "'" + f->getName() + "' is also a variable");
        return found->second;
    }
    const FunctionDecl* d = defined ? definition : f->getMostRecentDecl();
    int sclass = SC_EXTERN_DECL;
    if (defined) {
        bool external = d->isExternallyVisible() && (!d->isInlined() || d->isInlineDefinitionExternallyVisible());
        sclass = external ? SC_EXTERN_DEF : SC_STATIC;
    }
    SYMTAB* sym = out.global(name, m.type_of_decl(f), sclass, position(d->getLocation()), 16);
    if (d->isInlined()) sym->scqual |= CQ_INLINE;
    linked[name] = sym;
    symbols[f->getCanonicalDecl()] = sym;
    function_pragmas(sym, d, defined);
    return sym;
}

SYMTAB* FRONT::variable_symbol(const VarDecl* v) {
    if (v->isStaticLocal()) return static_local(v);
    std::string name = "_" + v->getName().str();
    if (auto found = linked.find(name); found != linked.end()) {
        if (found->second->type->is_func()) m.refuse(v->getLocation(), "'" + v->getName() + "' is also a function");
        return found->second;
    }
    if (v->getTLSKind() != VarDecl::TLS_None) m.refuse(v->getLocation(), "thread-local variables are not supported");
    const VarDecl* d = v;
    bool defined = false;
    uint32_t align = 0;
    for (const VarDecl* r : v->redecls()) {
        check_attributes(r);
        align = std::max(align, alignment_of(r));
        if (r->isThisDeclarationADefinition(ctx) == VarDecl::DeclarationOnly) continue;
        if (!defined || r->getInit() != nullptr) d = r;
        defined = true;
    }
    TYPE* type = m.type_of_decl(v);
    if (defined && type->is_array() && !type->descriptor->array->complete)
        type = m.array_of(type->elem_type(), 1, v->getLocation()); // a tentative definition without a bound
    if (defined) m.size_of(type, v->getLocation());
    int sclass = !defined ? SC_EXTERN_DECL : v->isExternallyVisible() ? SC_EXTERN_DEF : SC_STATIC;
    SYMTAB* sym = out.global(name, type, sclass, position(d->getLocation()), align);
    linked[name] = sym;
    symbols[v->getCanonicalDecl()] = sym;
    if (const auto* s = d->getAttr<SectionAttr>())
        out.add_pragma(sym, PRAGMA::PRAGMA_DATA_SECTION, {s->getName().str()});
    common_pragmas(sym, d);
    if (defined) waiting_variables.push_back(d);
    return sym;
}

SYMTAB* FRONT::static_local(const VarDecl* v) {
    if (auto found = symbols.find(v->getCanonicalDecl()); found != symbols.end()) return found->second;
    check_attributes(v);
    TYPE* type = m.type_of_decl(v);
    m.size_of(type, v->getLocation());
    std::string name = "_" + v->getName().str() + "$" + std::to_string(static_count++);
    SYMTAB* sym = out.global(name, type, SC_STATIC, position(v->getLocation()), alignment_of(v));
    symbols[v->getCanonicalDecl()] = sym;
    if (const auto* f = dyn_cast<FunctionDecl>(v->getParentFunctionOrMethod()))
        out.add_pragma(sym, PRAGMA::PRAGMA_SCOPING_FUNC, {"_" + f->getName().str()});
    common_pragmas(sym, v);
    waiting_variables.push_back(v);
    return sym;
}

SYMTAB* FRONT::hidden_static(const std::string& stem, TYPE* type, SourceLocation where) {
    return out.global(stem + "$" + std::to_string(static_count++), type, SC_STATIC, position(where), 0);
}

SYMTAB* FRONT::wide_string(const StringLiteral* s) {
    std::vector<uint32_t> units = m.code_units(s);
    units.push_back(0);
    TYPE* elem = m.type_of(ctx.getAsArrayType(s->getType())->getElementType(), s->getBeginLoc());
    std::vector<uint32_t> key = units;
    key.push_back(elem->size_bits);
    SYMTAB*& sym = wide_strings[key];
    if (sym == nullptr) {
        sym = hidden_static("__wide", m.array_of(elem, units.size(), s->getBeginLoc()), s->getBeginLoc());
        std::vector<NODE*> nodes;
        for (uint32_t u : units) nodes.push_back(icon(INT65(u), elem->stqs()));
        out.set_initialiser(sym, std::move(nodes));
    }
    return sym;
}

SYMTAB* FRONT::symbol_of(const ValueDecl* d) {
    auto found = symbols.find(cast<ValueDecl>(d->getCanonicalDecl()));
    if (found != symbols.end()) return found->second;
    if (const auto* f = dyn_cast<FunctionDecl>(d)) {
        SYMTAB* sym = function_symbol(f);
        if (const FunctionDecl* definition = f->getDefinition())
            if (functions[definition] == 0) {
                functions[definition] = 1;
                asked.push_back(definition);
            }
        return sym;
    }
    const auto* v = dyn_cast<VarDecl>(d);
    if (v == nullptr) m.refuse(d->getLocation(), "this declaration is not supported");
    if (v->hasGlobalStorage()) return variable_symbol(v);
    return local_symbol(v); // named in its own initialiser, or jumped over
}

// Functions of the main file are emitted whether used or not; those of headers only on use, if nobody else can ask.
bool FRONT::wanted_unasked(const FunctionDecl* f) {
    if (f->hasAttr<UsedAttr>()) return true;
    bool external = f->isExternallyVisible() && (!f->isInlined() || f->isInlineDefinitionExternallyVisible());
    return external || ctx.getSourceManager().isInMainFile(ctx.getSourceManager().getExpansionLoc(f->getLocation()));
}

void FRONT::top_level(const Decl* d) {
    if (const auto* f = dyn_cast<FunctionDecl>(d)) {
        check_attributes(f);
        if (!f->isThisDeclarationADefinition() || !wanted_unasked(f)) return;
        symbol_of(f);
        define_function(f);
        return;
    }
    if (const auto* v = dyn_cast<VarDecl>(d)) {
        if (v->isThisDeclarationADefinition(ctx) == VarDecl::DeclarationOnly) return;
        bool from_header =
            !ctx.getSourceManager().isInMainFile(ctx.getSourceManager().getExpansionLoc(v->getLocation()));
        if (from_header && !v->isExternallyVisible() && !v->hasAttr<UsedAttr>()) return;
        variable_symbol(v);
        return;
    }
    if (const auto* s = dyn_cast<StaticAssertDecl>(d)) {
        if (m.int_constant(s->getAssertExpr(), "asserted expression") == 0)
            m.refuse(s->getLocation(),
                     llvm::Twine("static assertion failed") +
                         (s->getMessage() != nullptr ? ": " + s->getMessage()->getString().str() : ""));
        return;
    }
    if (const auto* a = dyn_cast<FileScopeAsmDecl>(d)) {
        out.top_level_assembly(a->getAsmString()->getString().str(), position(a->getAsmLoc()));
        return;
    }
    if (const auto* r = dyn_cast<RecordDecl>(d)) {
        // Faults of a record are reported even if nothing uses it.
        if (r->isCompleteDefinition() &&
            ctx.getSourceManager().isInMainFile(ctx.getSourceManager().getExpansionLoc(r->getLocation())))
            m.record_type(r);
        return;
    }
}

void FRONT::define_function(const FunctionDecl* f) {
    int& state = functions[f];
    if (state == 2) return;
    state = 2;
    translate_body(f);
}

// Initialisers may ask for further functions and variables, and those for more.
void FRONT::emit_deferred() {
    for (;;) {
        if (!waiting_variables.empty()) {
            std::vector<const VarDecl*> now;
            now.swap(waiting_variables);
            for (const VarDecl* v : now) {
                if (defined_variables[v]) continue;
                defined_variables[v] = true;
                if (v->getInit() == nullptr) continue;
                try {
                    SYMTAB* sym = symbol_of(v);
                    static_initialiser(sym, sym->type, v->getInit());
                } catch (REFUSED&) {}
            }
            continue;
        }
        if (asked.empty()) return;
        std::vector<const FunctionDecl*> now;
        now.swap(asked);
        for (const FunctionDecl* f : now) {
            try {
                define_function(f);
            } catch (REFUSED&) {}
        }
    }
}

void FRONT::translate_unit() {
    for (const Decl* d : ctx.getTranslationUnitDecl()->decls()) {
        try {
            top_level(d);
        } catch (REFUSED&) {}
    }
    emit_deferred();
}

// Parameters, their local copies, and the assignments that fill the copies.
void FRONT::make_parameters(const FunctionDecl* f) {
    bool prototyped = f->hasWrittenPrototype();
    std::vector<NODE*> prolog;
    uint32_t place = 0; // bits, of class 9 in the argument area
    unsigned number = 0;
    for (const ParmVarDecl* p : f->parameters()) {
        check_attributes(p);
        TYPE* type = m.type_of_decl(p);
        TYPE* passed = type;
        if (!prototyped && !type->is_csu()) { // what the default promotions make of it
            TYPE* v = m.value_type(type);
            if (v->is_fltpt() && v->size_bits < 64) passed = tp->double_type();
            if (v->is_integral() && v->size_bits < 32) passed = tp->int_type();
        }
        std::string name = p->getName().empty() ? "__p" + std::to_string(number) : p->getName().str();
        ++number;
        PSN* psn = position(p->getLocation());
        SYMTAB* parm = out.local(name, passed, type->is_csu() ? SC_PARM : SC_PARM_REG, psn, 0);
        if (type->is_csu()) {
            m.size_of(type, p->getLocation());
            place = (place + type->align_bits - 1) / type->align_bits * type->align_bits;
            parm->offset = place;
            place += type->size_bits;
        }
        body->params.push_back(parm);
        SYMTAB* copy = out.local(name, type, SC_AUTO, psn, alignment_of(p));
        block().locals.push_back(copy);
        symbols[p] = copy;
        TYPE* lt = m.lvalue_type(type);
        NODE* from = name_of(parm, m.lvalue_type(passed));
        NODE* to = name_of(copy, lt);
        prolog.push_back(type->is_csu() ? node2(STASG, type->stqs(), to, from)
                                        : node2(ASG, m.value_type(type), to, convert(from, m.value_type(type))));
    }
    if (f->isVariadic()) {
        va_area = out.local("__va", tp->int_type(), SC_PARM_VARARGS, position(f->getLocation()), 32);
        body->params.push_back(va_area);
    }
    if (!prolog.empty()) add(chain(PCOMMA, prolog, tp->mk_void()), f->getLocation());
}

void FRONT::translate_body(const FunctionDecl* f) {
    for (const FunctionDecl* r : f->redecls()) check_attributes(r);
    FUNCTION_BODY here;
    body = &here;
    function = f;
    va_area = nullptr;
    temp_count = 0;
    open_blocks.clear();
    break_labels.clear();
    continue_labels.clear();
    labels.clear();
    case_labels.clear();
    opaque.clear();
    here.sym = symbol_of(f);
    here.begin = position(f->getLocation());
    const auto* code = dyn_cast<CompoundStmt>(f->getBody());
    if (code == nullptr) m.refuse(f->getLocation(), "this function body is not supported");
    here.locals_end = position(code->getLBracLoc());
    here.end = position(code->getRBracLoc());
    here.blocks.emplace_back();
    open_blocks.push_back(&here.blocks.front());
    return_type = m.type_of_decl(f)->return_type();
    make_parameters(f);
    statements_of(code);
    bool returns = !code->body_empty() && isa<ReturnStmt>(code->body_back());
    if (f->isMain() && return_type->is_integral() && !returns)
        add(node2(RETURN, m.value_type(return_type), name_of(here.sym, here.sym->type),
                  convert(icon(0), m.value_type(return_type))),
            code->getRBracLoc());
    // Statics of the function come into being with it.
    try {
        out.write_function(here);
    } catch (TOO_DEEP& deep) {
        m.refuse(f->getLocation(), "the expression at line " + llvm::Twine(deep.psn != nullptr ? deep.psn->line : 0) +
                                       " nests too deeply");
    }
    body = nullptr;
}
