#include "ir/node.h"

#include "driver/safealloc.h"
#include "ir/bblk.h"
#include "ir/fps.h"
#include "ir/funinfo.h"
#include "ir/pool.h"
#include "ir/pragma.h"
#include "ir/symbol.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <cstring>
#include <string>

// The pools keep their links in fields that the double-free check does not read.
#pragma GCC diagnostic ignored "-Winvalid-offsetof" // single inheritance: the offsets are what they seem
namespace {
SLAB_POOL node_pool(sizeof(NODE), offsetof(NODE, right));
SLAB_POOL list_pool(sizeof(LIST), offsetof(LIST, rest));
SLAB_POOL edge_pool(sizeof(EDGE), offsetof(EDGE, next));
SLAB_POOL lbl_pool(sizeof(LBL), offsetof(LBL, next));
} // namespace

#define POOLED(RECORD, pool)                                                                                           \
    void* RECORD::operator new(size_t size) { return NX_POOLS ? (pool).alloc() : ::operator new(size); }               \
    void RECORD::operator delete(void* p) { NX_POOLS ? (pool).free(p) : ::operator delete(p); }
POOLED(LIST, list_pool)
POOLED(EDGE, edge_pool)
POOLED(LBL, lbl_pool)
#undef POOLED

void* NODE::operator new(size_t size) { return NX_POOLS ? node_pool.alloc() : ::operator new(size); }

// The mark of an erased node is set here, behind the destructor: a store in front of it is dead to the compiler.
void NODE::operator delete(void* p) {
    *reinterpret_cast<volatile int32_t*>(static_cast<char*>(p) + offsetof(NODE, op)) = ILLOP;
    NX_POOLS ? node_pool.free(p) : ::operator delete(p);
}

// Frees what the node owns beside its operands; erase_node does the rest.
NODE::~NODE() { delete ext; }

NODE_EXT& NODE::extra() {
    if (ext == nullptr) ext = new NODE_EXT;
    return *ext;
}

void NODE::set_probability(double p_taken) {
    if (ext == nullptr && p_taken == -1.0) return;
    extra().probability = p_taken;
}

const char* NODE::lcon_value() {
    static std::string shared;
    shared = int65_to_text(u.lval);
    return shared.c_str();
}

const char* NODE::fcon_value() {
    if (text == nullptr) {
        simul_fval value = *u.fval;
        truncate_fval_to_target(&value, type);
        std::string number = f_ftoa("%a", &value);
        text = new char[number.size() + 1];
        memcpy(text, number.c_str(), number.size() + 1);
    }
    return text;
}

void NODE::mk_name(SYMTAB* sym) {
    u.sym = sym;
    if (sym != nullptr && (sym->scqual & CQ_VOLATILE) && currfuninfo != nullptr) currfuninfo->has_marked_name = true;
}

void NODE::mk_field(int kind, fkMDATA* member, TYPE* csu_type) {
    if (kind != 1) abort_optimizer();
    mval = member;
    u.csu = csu_type;
    if (type != nullptr) type = type->normalized();
    if (member != nullptr && member->is_bitfield && currfuninfo != nullptr) currfuninfo->has_bitfields = true;
}

void NODE::mk_icon(INT65 value) {
    u.lval = type != nullptr && type->is_signed() ? sign_extend_by_type(value, type)
             : type != nullptr                    ? truncate_to_type(value, type)
                                                  : value;
}

void NODE::mk_lcon(const char* decimal) {
    INT65 value;
    text_to_int65(decimal, value);
    op = ICON;
    u.lval = truncate_to_type(value, type);
}

void NODE::mk_fcon(const char* number) {
    u.fval = new simul_fval;
    f_atof(number, u.fval);
    truncate_fval_to_target(u.fval, type);
    text = nullptr;
}

void NODE::mk_scon(const char* bytes, uint32_t count) {
    u.lval = INT65(count);
    text = new char[count + 1];
    if (count != 0) memcpy(text, bytes, count);
    text[count] = 0;
}

void NODE::mk_label(uint32_t number) { u.lval = INT65(static_cast<int32_t>(number)); }
void NODE::mk_skip(uint32_t units) { u.lval = INT65(static_cast<int32_t>(units)); }
void NODE::mk_switch(uint32_t cases) { u.lval = INT65(static_cast<int32_t>(cases)); }

void NODE::mk_call(uint32_t extra_arguments, uint32_t exception_entry) {
    if (currfuninfo != nullptr) currfuninfo->is_leaf = false;
    u.lval = INT65(extra_arguments);
    u.call.eht_id = exception_entry;
}

void NODE::mk_ucall(uint32_t exception_entry) {
    if (currfuninfo != nullptr) currfuninfo->is_leaf = false;
    u.call.eht_id = exception_entry;
}

void NODE::mk_icall(const char* builtin) {
    size_t size = strlen(builtin) + 1;
    u.name = static_cast<char*>(memcpy(new char[size], builtin, size));
}

NODE* new_node(int op, TYPE* type) {
    NODE* node = new NODE(op, type);
    if (op == SCONV && type != nullptr && type->is_enum())
        node->type = normalized_underlying_type(type);
    else if (op == PCONV && type != nullptr && chars_alias_other_types && type->is_ptr() &&
             tp->char_type()->size() == tp->int_type()->size()) {
        TYPE* pointee = type->type_pointed_to();
        if (pointee->is_schar() || pointee->is_uchar() || pointee->is_plain_char()) node->op = ISP2CHAR;
    } else if (op == UCALL && currfuninfo != nullptr)
        currfuninfo->is_leaf = false;
    return node;
}

NODE* maketree(int op, NODE* left, NODE* right, TYPE* type, LS* scope) {
    if ((op == SCONV || op == PCONV || op == ACONV) && type != nullptr) type = type->type_qualified();
    NODE* node = new NODE(op, type);
    node->left = left;
    node->right = right;
    node->scope = scope;
    if (opcode_is_call(op) && currfuninfo != nullptr) currfuninfo->is_leaf = false;
    return node;
}

NODE* mktree(int op, NODE* left, NODE* right, TYPE* type, SYMTAB* sym, INT65 value) {
    NODE* node = maketree(op, left, right, type);
    if (sym != nullptr)
        node->u.sym = sym;
    else
        node->u.lval = value;
    return node;
}

LIST* mklist(NODE* stmt, LIST* rest, int mark0, int mark1) {
    LIST* cell = new LIST(stmt, nullptr, rest);
    cell->mark[0] = static_cast<uint16_t>(mark0);
    cell->mark[1] = static_cast<uint16_t>(mark1);
    return cell;
}

LIST* mkelist(NODE* stmt, LIST* rest, PSN* psn) { return new LIST(stmt, psn, rest); }

LIST* append_node_to_list(NODE* stmt, LIST* list, PSN* psn) {
    LIST** end = &list;
    while (*end != nullptr) end = &(*end)->rest;
    *end = mkelist(stmt, nullptr, psn);
    return list;
}

LIST* reverse_list(LIST* list) {
    LIST* reversed = nullptr;
    while (list != nullptr) {
        LIST* rest = list->rest;
        list->rest = reversed;
        reversed = list;
        list = rest;
    }
    return reversed;
}
