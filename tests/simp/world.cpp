#include "world.h"

#include "icode/if.h"
#include "ir/funinfo.h"
#include "ir/ls.h"
#include "ir/opt_expr.h"
#include "ir/vars.h"

WORLD world;

KIND kind_of_type(const TYPE* type) {
    if (type == nullptr) return K_NONE;
    uint32_t bits = type->descriptor->size_bits;
    if (type->is_integral() || type->is_enum()) {
        if (type->is_bool()) return K_B;
        bool is_signed = type->is_signed();
        return bits == 16 ? (is_signed ? K_H : K_UH) : bits == 32 ? (is_signed ? K_W : K_UW) : is_signed ? K_L : K_UL;
    }
    if (type->is_fltpt()) return bits == 32 ? K_F : K_D;
    if (type->is_ptr()) return K_P;
    if (type->is_csu() || type->is_array()) return K_BLOCK;
    return K_NONE;
}

unsigned bits_of_kind(KIND k) {
    static const unsigned bits[] = {0, 16, 16, 16, 32, 32, 64, 64, 32, 64, 32, 0};
    return bits[k];
}

const char* kind_text(KIND k) {
    static const char* const text[] = {"void", "bool", "i16", "u16", "i32", "u32",
                                       "i64",  "u64",  "f32", "f64", "ptr", "obj"};
    return text[k];
}

KIND promoted_kind(KIND k) { return k <= K_UH && k >= K_B ? K_W : k; }

KIND combined_kind(KIND a, KIND b) {
    if (a == K_P || b == K_P) return K_P;
    if (a == K_D || b == K_D) return K_D;
    if (a == K_F || b == K_F) return K_F;
    a = promoted_kind(a);
    b = promoted_kind(b);
    return a > b ? a : b; // the wider one, and of two of one width the unsigned one
}

NODE* name_of(int variable) { return mk_NAME(world.variables[static_cast<size_t>(variable)].symbol); }

int64_t special_value(RANDOM& random, KIND k) {
    unsigned width = bits_of_kind(k);
    auto bit = [&] { return static_cast<unsigned>(random.below(static_cast<int>(width))); };
    switch (random.below(16)) {
    case 0:
    case 1: return 0;
    case 2: return 1;
    case 3: return -1;
    case 4: return 2 + random.below(6);
    case 5: return random.below(41) - 20;
    case 6: return static_cast<int64_t>(uint64_t{1} << bit());
    case 7: return static_cast<int64_t>((uint64_t{1} << bit()) - 1);
    case 8: return wrapped_negative(static_cast<int64_t>(uint64_t{1} << bit()));
    case 9: return static_cast<int64_t>((uint64_t{1} << bit()) - (uint64_t{1} << bit()));
    case 10: return static_cast<int64_t>((uint64_t{1} << (width - 1)) - static_cast<unsigned>(random.below(3)));
    case 11: return static_cast<int64_t>((uint64_t{1} << (width - 1)) + static_cast<unsigned>(random.below(2)));
    case 12: return static_cast<int64_t>((uint64_t{1} << (width / 2)) - static_cast<unsigned>(random.below(3)));
    case 13: return (2 + random.below(9)) * (random.one_in(3) ? -1 : 1) * (1 << random.below(4));
    case 14: return random.below(2000) - 1000;
    default: return static_cast<int64_t>(random.next());
    }
}

// ------------------------------------------------------------------------------------------------------------- types

namespace {

void adopt_sizes() {
    if_node_table_init();
    init_opcode_tables();
    tp_alloc()->init_type_pkg();
    tp->adopt_basic_type(tp->mk_ptr(tp->void_type, 32, 32));
    tp->adopt_basic_type(tp->mk_int(TYPE::I_BOOL, false, 16, 16));
    tp->adopt_basic_type(tp->mk_int(TYPE::I_LLONG, false, 64, 64));
    tp->adopt_basic_type(tp->mk_int(TYPE::I_ULLONG, false, 64, 64));
    tp->adopt_basic_type(tp->mk_fltpt(TYPE::F_DOUBLE, 64, 64));
    tp->adopt_basic_type(tp->mk_fltpt(TYPE::F_LDOUBLE, 64, 64));
    tp->basic_types_changed();
    init_symbols();
    option_queries.opt_level = [] { return 2; };
}

TYPE* make_record_type() {
    struct MEMBER {
        const char* name;
        TYPE* type;
        int offset, bits; // bits 0: a plain member
    };
    const MEMBER members[] = {
        {"a", tp->int_type(), 0, 0},        {"h", tp->char_type(), 96, 0},     {"uh", tp->uchar_type(), 112, 0},
        {"q", tp->llong_type(), 128, 0},    {"u", tp->uint_type(), 192, 0},    {"b5u", tp->uint_type(), 32, 5},
        {"b7", tp->int_type(), 37, 7},      {"b12u", tp->uint_type(), 44, 12}, {"b3u", tp->uchar_type(), 64, 3},
        {"b13u", tp->uchar_type(), 67, 13}, {"b9", tp->char_type(), 80, 9},    {"b1u", tp->uchar_type(), 89, 1},
        {"b32u", tp->uint_type(), 224, 31}};
    TYPE* type = tp->mk_struct("S", 256, 64, false, 0, true, false, false);
    for (const MEMBER& m : members)
        tp->add_member(type, std::make_unique<fkMDATA>(m.name, m.type, m.offset,
                                                       m.bits != 0 ? static_cast<uint32_t>(m.bits) : m.type->size(),
                                                       m.bits != 0));
    tp->type_frozen(type);
    for (int i = 0; i < static_cast<int>(std::size(members)); i++) world.bits_and_members.push_back(i);
    return type;
}

uint32_t next_unit = 0;

int add(const char* name, TYPE* type, bool local, int points_to = -1) {
    bool is_volatile = type->is_volatile();
    std::string full = local ? name : std::string("_") + name;
    SYMTAB* sym = make_symbol(full.c_str(), type, nullptr, type->size(), type->align(), 0, local ? SC_AUTO : SC_STATIC,
                              is_volatile ? uint16_t{CQ_VOLATILE} : uint16_t{0}, nullptr, 0, 0, local ? 2 : 0);
    int index = static_cast<int>(world.variables.size());
    sym->word[1] = static_cast<uint32_t>(index);
    KIND kind = kind_of_type(type);
    uint32_t units = type->size() / 16;
    if (kind == K_BLOCK) sym->flags |= SYM_ALIASED;
    if (kind != K_BLOCK && local) sym->flags &= static_cast<uint8_t>(~SYM_ALIASED); // no tree takes its address
    world.variables.push_back({sym, kind, first_address + next_unit, units, is_volatile, local, points_to});
    for (uint32_t i = 0; i < units; i++) world.owner[next_unit + i] = static_cast<uint8_t>(index + 1);
    next_unit += (units + 3) / 4 * 4 + (kind == K_BLOCK ? 16 : 0); // as the interpreter places static objects
    if (is_volatile)
        world.volatiles.push_back(index);
    else if (kind != K_BLOCK)
        world.of_kind[kind].push_back(index);
    return index;
}

SYMTAB* add_function(const char* name, bool has_parameters) {
    TYPE* type = tp->mk_func(tp->int_type(), false, false, true, 0);
    if (has_parameters)
        for (int i = 0; i < 2; i++) tp->add_param(type, {tp->int_type(), 0, ""});
    tp->type_frozen(type);
    return make_symbol(name, type, nullptr, 0, 0, 0, SC_EXTERN_DECL, 0, nullptr, 0, 0, 0);
}

} // namespace

void make_world() {
    static FUNINFO info;
    adopt_sizes();
    TYPE* main_type = tp->mk_func(tp->int_type(), false, false, true, 0);
    tp->type_frozen(main_type);
    currfunc = make_symbol("_main", main_type, nullptr, 0, 0, 0, SC_EXTERN_DEF, 0, nullptr, 0, 0, 0);
    currfuninfo = &info;
    info.symbol = currfunc;
    info.name = const_cast<char*>("main");
    info.has_bitfields = info.has_marked_name = info.has_local_address = true;
    info.is_leaf = false;
    LS_open(&info);
    LS_open(&info);
    begin_stack_sharing_scope(2);
    LS_open(&info);

    TYPE* const types[] = {nullptr,          tp->bool_type(),   tp->char_type(),           tp->uchar_type(),
                           tp->int_type(),   tp->uint_type(),   tp->llong_type(),          tp->ullong_type(),
                           tp->float_type(), tp->double_type(), tp->mk_ptr(tp->int_type())};
    for (size_t k = K_B; k <= K_P; k++) world.type_of[k] = types[k]->normalized();
    world.record_type = make_record_type();
    world.pointer_to_char = tp->mk_ptr(tp->char_type());
    world.pointer_to_record = tp->mk_ptr(world.record_type);

    auto type = [](KIND k) { return world.type_of[k]; };
    world.ints = add("A", tp->mk_array(type(K_W), 8, 256, 32, false), false);
    world.chars = add("H", tp->mk_array(type(K_H), 8, 128, 16, false), false);
    world.record = add("s", world.record_type, false);
    world.local_record = add("t", world.record_type, true);
    const char* const locals[][3] = {{"h0", "h1", "h2"},    {"uh0", "uh1", "uh2"}, {"w0", "w1", "w2"},
                                     {"uw0", "uw1", "uw2"}, {"l0", "l1", "l2"},    {"ul0", "ul1", "ul2"}};
    for (int i = 0; i < 6; i++)
        for (const char* name : locals[i]) add(name, type(static_cast<KIND>(K_H + i)), true);
    add("b0", type(K_B), true);
    add("f0", type(K_F), true);
    add("f1", type(K_F), true);
    add("d0", type(K_D), true);
    add("d1", type(K_D), true);
    add("pw0", type(K_P), true, world.ints);
    add("pw1", type(K_P), true, world.ints);
    add("ph", world.pointer_to_char, true, world.chars);
    add("ps", world.pointer_to_record, true, world.record);
    add("gh", type(K_H), false);
    add("gw", type(K_W), false);
    add("guw", type(K_UW), false);
    add("gl", type(K_L), false);
    world.changed_by_calls = add("gc", type(K_W), false);
    add("vw", tp->mk_qual(type(K_W), QUAL_VOLATILE), false);
    add("vuh", tp->mk_qual(type(K_UH), QUAL_VOLATILE), false);
    add("vl", tp->mk_qual(type(K_L), QUAL_VOLATILE), true);
    world.function = add_function("_ext", true);
    world.getter = add_function("_get", false);
    OPTASSERT(next_unit <= temporaries_at && world.variables.size() <= 64);
    for (uint32_t i = temporaries_at; i < memory_units; i++) world.owner[i] = static_cast<uint8_t>(100 + i / 4);
}

// -------------------------------------------------------------------------------------------------------------- text

namespace {

std::string type_mark(const NODE* node) {
    std::string text = kind_text(kind_of_type(node->type));
    if ((node->flags & NODE_NO_WRAP) != 0) text += "!";
    return text;
}

std::string operator_text(const NODE* node) {
    std::string text = opname(node->op);
    while (!text.empty() && text.back() == ' ') text.pop_back();
    while (!text.empty() && text.front() == ' ') text.erase(0, 1);
    return text;
}

} // namespace

std::string typed_text(const NODE* n) {
    if (n == nullptr) return "<none>";
    auto left = [&] { return typed_text(n->left); };
    auto right = [&] { return typed_text(n->right); };
    switch (n->op) {
    case NAME: {
        const char* name = n->u.sym->name;
        return name[0] == '_' ? name + 1 : name;
    }
    case ICON:
        return int65_to_text(n->u.lval) +
               (kind_of_type(n->type) == K_W ? "" : std::string(":") + kind_text(kind_of_type(n->type)));
    case FCON: return std::string(const_cast<NODE*>(n)->fcon_value()) + ":" + kind_text(kind_of_type(n->type));
    case LABEL: return "L" + int65_to_text(n->u.lval);
    case FIELD: return n->mval->name;
    case SCONV:
    case PCONV:
    case ACONV: return "(" + type_mark(n) + (n->op == SCONV ? ")" : "*)") + left();
    case UAND: return "&" + left();
    case UMULT: return "*" + type_mark(n) + "(" + left() + ")";
    case STDOT: return left() + "." + right();
    case STREF: return left() + "->" + right();
    case QUEST:
        return "(" + left() + " ?" + type_mark(n) + " " + typed_text(n->right->left) + " : " +
               typed_text(n->right->right) + ")";
    case CALL: return left().substr(1) + "(" + right() + ")";
    case UCALL: return left().substr(1) + "()";
    case COMMA: return left() + ", " + right();
    case COMMAOP: return "(" + left() + " , " + right() + ")";
    default: break;
    }
    if (n->left == nullptr) return operator_text(n);
    std::string op = operator_text(n) + (boolean_result[n->op] != 0 ? "" : type_mark(n));
    if (n->right == nullptr) return op + "(" + left() + ")";
    return "(" + left() + " " + op + " " + right() + ")";
}
