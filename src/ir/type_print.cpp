// Types as text: C-like declarators, the dump of the type tree, and the statistics.
#include "ir/types.h"

#include <cinttypes>
#include <cstdarg>

namespace {

// Function types may reach themselves through their parameters: so many lists of parameters within one another print.
constexpr int max_printed_lists = 6;
int printed_lists;

constexpr const char* int_names[12] = {"bool ",  "char ",           "unsigned char ", "wchar_t ",
                                       "short ", "unsigned short ", "int ",           "unsigned ",
                                       "long ",  "unsigned long ",  "long long ",     "unsigned long long "};
constexpr const char* float_names[3] = {"float ", "double ", "long double "};

struct QUAL_NAME {
    uint32_t bit;
    const char* text;
};
constexpr QUAL_NAME qual_names[] = {
    {QUAL_CONST, "const "}, {QUAL_VOLATILE, "volatile "}, {QUAL_PACKED, "packed "}, {QUAL_NEAR, "near "},
    {QUAL_FAR, "far "},     {QUAL_RESTRICT, "restrict "}, {QUAL_IOPORT, "ioport "}, {QUAL_ONCHIP, "onchip "}};

std::string text(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string text(const char* format, ...) {
    char buffer[200];
    va_list args;
    va_start(args, format);
    vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    return buffer;
}

std::string qualifiers(uint32_t bits) {
    std::string all;
    for (const QUAL_NAME& q : qual_names)
        if ((bits & q.bit) != 0) all += q.text;
    return all;
}

const char* complex_name(TYPE* complex) {
    if (complex->is_cchar()) return "cchar ";
    if (complex->is_cshort()) return "cshort ";
    if (complex->is_cint()) return "cint ";
    if (complex->is_clong()) return "clong ";
    if (complex->is_cllong()) return "cllong ";
    if (complex->is_cfloat()) return "cfloat ";
    if (complex->is_cdouble()) return "cdouble ";
    return nullptr;
}

std::string parameters(const FUNC_PART& f) {
    if (printed_lists >= max_printed_lists) return "...";
    struct GUARD {
        GUARD() { printed_lists++; }
        ~GUARD() { printed_lists--; }
    } guard;
    std::string all;
    for (const fkPARAM& p : f.params) {
        if (!all.empty()) all += ", ";
        all += p.type != nullptr ? p.type->print() : "?";
    }
    if (f.vararg) all += all.empty() ? "..." : ", ...";
    if (all.empty() && f.proto) all = "void";
    return all;
}

std::string member_list(const CSU_PART& csu) {
    std::string all = "{ ";
    for (auto& m : csu.members) {
        all += text("off:%3d ", m->bit_offset);
        if (m->is_bitfield) all += text("bitfld(%2d) ", static_cast<int>(m->bit_size));
        std::string left, right;
        m->type->print_parts(left, right, false, false);
        all += left + m->name + right + "; ";
    }
    return all + "} ";
}

// Around a declarator that has a `*`, an array or a function needs brackets.
void pointer_parts(TYPE* to, const char* star, std::string& left, std::string& right, bool names_only) {
    std::string inner;
    to->print_parts(left, inner, names_only, false);
    bool brackets = to->kind == TYPE::K_ARRAY || to->kind == TYPE::K_FUNC;
    left += brackets ? std::string("(") + star : star;
    right = brackets ? ")" + inner : inner;
}

} // namespace

void TYPE::print_parts(std::string& left, std::string& right, bool names_only, bool members) {
    left.clear();
    right.clear();
    switch (kind) {
    case K_VOID: left = "void "; break;
    case K_INTEGRAL:
        if (ikind > I_ULLONG) tp_die("Bad kind: TYPE::print()");
        left = int_names[ikind];
        if (mark_a) left += "[ExplSign] ";
        break;
    case K_FLOAT:
        if (fkind > F_LDOUBLE) tp_die("Bad fkind: TYPE::print()");
        left = float_names[fkind];
        break;
    case K_FIXED:
        part->print_parts(left, right, names_only, false);
        if (!left.empty() && left.back() == ' ') left.pop_back();
        left += text(" [FxtPt:%u] ", binpt);
        break;
    case K_COMPLEX:
        if (!part->is_integral() && !part->is_fltpt()) tp_die("Bad parttype: TYPE::print()");
        if (const char* own = complex_name(this)) {
            left = own;
        } else { // a part that no source language has
            left = "complex " + part->print() + " ";
        }
        break;
    case K_POINTER: pointer_parts(part, "*", left, right, names_only); break;
    case K_REFERENCE: pointer_parts(part, "&", left, right, names_only); break;
    case K_PTM: {
        std::string star = (ptm_class_ != nullptr ? ptm_class_->name() : "") + std::string("::*");
        pointer_parts(part, star.c_str(), left, right, names_only);
        break;
    }
    case K_QUALIFIED: {
        part->print_parts(left, right, names_only, members);
        // The qualifiers of a pointer stand behind its `*`, all others in front.
        bool behind = part->kind == K_POINTER || part->kind == K_REFERENCE || part->kind == K_PTM;
        left = behind ? left + qualifiers(quals) : qualifiers(quals) + left;
        break;
    }
    case K_TYPEDEF:
        if (names_only || !members) {
            left = tdef->name + " ";
        } else {
            tdef->type_named->print_parts(left, right, names_only, members);
        }
        break;
    case K_ARRAY: {
        std::string inner;
        array->elem_type->print_parts(left, inner, names_only, false);
        std::string bound = array->complete ? std::to_string(array->count) : "";
        right = (array->vector ? "<[" + bound + "]>" : "[" + bound + "]") + inner;
        break;
    }
    case K_FUNC: {
        std::string inner;
        func->return_type->print_parts(left, inner, names_only, false);
        right = "(" + parameters(*func) + ")" + inner;
        break;
    }
    case K_ENUM: left = (names_only ? "" : "enum ") + enumeration->name + " "; break;
    case K_CLASS:
    case K_STRUCT:
    case K_UNION:
        if (!names_only) left = kind == K_CLASS ? "class " : kind == K_STRUCT ? "struct " : "union ";
        left += csu->name + " ";
        if (members) left += member_list(*csu);
        break;
    default: tp_die("bad type kind: TYPE::print()");
    }
}

std::string TYPE::print(bool names_only, bool members) {
    std::string left, right;
    print_parts(left, right, names_only, members);
    if (!left.empty() && left.back() == ' ') left.pop_back();
    return left + right;
}

void TYPE::println(FILE* to) { fprintf(to, "%s\n", print().c_str()); }

void TYPE::dump(FILE* to) {
    fprintf(to, "% 8d:%s\n", static_cast<int>(uid), print(false, true).c_str());
    fprintf(to, "   merg=%d refd=%d writ=%d cpp=%d complete=%d equiv=%d base=%d ", merg, refd, writ, cpp, complete,
            static_cast<int>(equiv), static_cast<int>(base != nullptr ? base->uid : 0));
    fprintf(to, "size=%" PRIu32 " align=%" PRIu32 " ", size_bits, align_bits);
    if (kind == K_QUALIFIED) fprintf(to, "quals=%" PRIu32 " ", quals);
    if (array != nullptr) fprintf(to, "count=%" PRIu32 " ", array->count);
    if (func != nullptr)
        fprintf(to, "params=%zu vararg=%d proto=%d cc=%d ", func->params.size(), func->vararg, func->proto,
                func->cc_kind);
    if (enumeration != nullptr) fprintf(to, "etors=%zu ", enumeration->etors.size());
    if (csu != nullptr)
        fprintf(to, "members=%zu csu_complete=%d low=%d ", csu->members.size(), csu->complete, csu->low);
    fprintf(to, "tu=%d psn=%s:%lu\n", static_cast<int>(tu), psn != nullptr && psn->file != nullptr ? psn->file : "",
            psn != nullptr ? static_cast<unsigned long>(psn->line) : 0ul);
}

void TYPE::dump_based_list(FILE* to, int depth) {
    for (TYPE* t : based_list) {
        fprintf(to, "%*s%d:%s\n", depth * 2, "", static_cast<int>(t->uid), t->print().c_str());
        t->dump_based_list(to, depth + 1); // at most max_type_depth deep
    }
}

void TYPE_PKG::dump_all(FILE* to) {
    root_type->for_each_based([to](TYPE* t) {
        if (t != root_type) t->dump(to);
    });
}

void TYPE_PKG::print_stats(FILE* to) {
    fputs("***********TYPE PACKAGE STATISTICS************\n", to);
    const struct {
        const char* what;
        uint32_t count;
    } rows[] = {{"types", tot_types},        {"structs", tot_structs},  {"enums", tot_enums},
                {"functions", tot_funcs},    {"pointers", tot_ptrs},    {"arrays", tot_arrays},
                {"vectors", tot_vectors},    {"qualified", tot_quals},  {"typedefs", tot_tdefs},
                {"basic types", tot_basics}, {"complex", tot_complexes}};
    for (const auto& row : rows) fprintf(to, "%-12s %8" PRIu32 "\n", row.what, row.count);
}
