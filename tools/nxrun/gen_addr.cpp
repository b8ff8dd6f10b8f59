// FUNCTION_GEN: places in memory, lvalues, loads and stores, blocks.
#include "gen.h"

namespace {

// The forms in the order of the operations: B F G BX FX GX.
int form_of(const PLACE& p) { return p.base + (p.indexed ? 3 : 0); }

int load_op(VKIND k) {
    switch (k) {
    case V_H: return B_LD_H_B;
    case V_UH: return B_LD_UH_B;
    case V_W: return B_LD_W_B;
    case V_UW:
    case V_F: return B_LD_UW_B;
    default: return B_LD_L_B;
    }
}
int store_op(VKIND k) { return units_of_kind(k) == 1 ? B_ST_H_B : units_of_kind(k) == 2 ? B_ST_W_B : B_ST_L_B; }

constexpr int loads_a_form = 5, stores_a_form = 3;
static_assert(B_LD_H_F - B_LD_H_B == loads_a_form && B_LD_H_BX - B_LD_H_B == 3 * loads_a_form);
static_assert(B_ST_H_F - B_ST_H_B == stores_a_form && B_ST_H_BX - B_ST_H_B == 3 * stores_a_form);
static_assert(B_LEA_F - B_LEA_B == 1 && B_LEA_BX - B_LEA_B == 3);

} // namespace

// ------------------------------------------------------------------------------------------------- addresses as such

void FUNCTION_GEN::place_fields(INSN& i, const PLACE& p) {
    i.b = p.slot;
    i.c = p.index;
    i.x = static_cast<int32_t>(static_cast<uint32_t>(p.offset));
    i.y = p.scale;
}

VALUE FUNCTION_GEN::address_value(const PLACE& p, int want) {
    if (p.base == PLACE::FIXED && !p.indexed) return VALUE::of(static_cast<uint32_t>(p.offset), V_UW);
    if (p.base == PLACE::SLOT && !p.indexed && p.offset == 0) return VALUE::in(p.slot, V_UW);
    int to = want != no_slot ? want : new_slot();
    place_fields(emit_op(B_LEA_B + form_of(p), to, 0, 0), p);
    return VALUE::in(to, V_UW);
}

PLACE FUNCTION_GEN::place_at(VALUE address) {
    PLACE p;
    if (address.constant) {
        p.offset = static_cast<uint32_t>(address.imm);
    } else {
        p.base = PLACE::SLOT;
        p.slot = address.slot;
    }
    return p;
}

// Adds index * scale to a place, if the place has no index yet.
bool FUNCTION_GEN::add_index(PLACE& p, NODE* index, int64_t scale) {
    if (p.indexed || scale < INT32_MIN || scale > INT32_MAX) return false;
    VALUE i = value(index);
    if (!is_integer_kind(i.kind)) return false;
    if (i.constant) {
        p.offset += i.imm * scale;
        return true;
    }
    p.indexed = true;
    p.index = i.slot;
    p.scale = static_cast<int32_t>(scale);
    return true;
}

bool FUNCTION_GEN::is_address_sum(NODE* n) const {
    NODE* base = operand(n);
    NODE* index = operand(n, true);
    return kind_of(base->type) == V_UW && is_integer_kind(kind_of(index->type)) && (n->op == PLUS || index->op == ICON);
}

// The parts that an instruction can hold go into the place.
PLACE FUNCTION_GEN::place_of_sum(NODE* n) {
    NODE* base = operand(n);
    NODE* index = operand(n, true);
    bool minus = n->op == MINUS;
    count(C_ialu);
    PLACE p = place_of_pointer(base);
    if (index->op == ICON) {
        count_node();
        int64_t k = index->u.lval.to_i64();
        p.offset += minus ? -k : k;
        return p;
    }
    int64_t scale = 1;
    NODE* plain = index;
    if ((index->op == PMCONV || index->op == MULT) && operand(index, true)->op == ICON) {
        int64_t k = index->right->u.lval.to_i64();
        if (index->op == PMCONV && k % 16 != 0) fail("PMCONV by a size that is no multiple of 16");
        scale = index->op == PMCONV ? k / 16 : k;
        plain = operand(index);
        bool fits = is_integer_kind(kind_of(plain->type)) && units_of_kind(kind_of(plain->type)) <= 2 &&
                    units_of_kind(kind_of(index->type)) == 2 && scale >= INT32_MIN && scale <= INT32_MAX;
        if (fits) {
            count_node();
            count_node();
            if (scale != 1) count(C_ialu);
        } else {
            scale = 1;
            plain = index;
        }
    }
    if (p.indexed) p = place_at(in_slot(address_value(p)));
    if (!add_index(p, plain, scale)) fail("index that is no integer");
    return p;
}

PLACE FUNCTION_GEN::place_of_pointer(NODE* n) {
    if (++depth_ > max_depth) fail("expression nests too deeply");
    PLACE p;
    switch (n->op) {
    case PLUS:
    case MINUS:
        if (is_address_sum(n)) {
            count_node();
            p = place_of_sum(n);
        } else {
            p = place_at(pointer_value(n));
        }
        break;
    case UAND:
        if (operand(n)->op == NAME && n->left->u.sym != nullptr && kind_of(n->left->u.sym->otype) == V_FUNC) {
            p = place_at(pointer_value(n));
        } else {
            count_node();
            LVALUE lv = lvalue(operand(n));
            if (lv.local != nullptr || lv.is_bits) fail("address of what has none");
            p = lv.place;
        }
        break;
    case PCONV:
        if (kind_of(operand(n)->type) == V_UW) {
            count_node();
            p = place_of_pointer(n->left);
            break;
        }
        [[fallthrough]];
    default: p = place_at(pointer_value(n));
    }
    --depth_;
    return p;
}

VALUE FUNCTION_GEN::pointer_value(NODE* n) {
    VALUE v = value(n);
    if (!is_integer_kind(v.kind)) fail(std::string(opname(n->op)) + " that gives no address");
    return convert(v, V_UW);
}

// ---------------------------------------------------------------------------------------------------------- lvalues

FUNCTION_GEN::LOCAL* FUNCTION_GEN::local_of(const NODE* n) {
    const SYMTAB* s = n->u.sym;
    if (s == nullptr) fail("NAME without symbol");
    if (s->level == 0) return nullptr;
    if (s->word[0] >= locals_.size() || locals_[s->word[0]].symbol != s)
        fail(std::string("'") + s->name + "' is no local of this function");
    return &locals_[s->word[0]];
}

FUNCTION_GEN::LVALUE FUNCTION_GEN::lvalue_of_name(NODE* n) {
    LVALUE lv;
    lv.kind = kind_of(n->type);
    if (lv.kind == V_BAD || lv.kind == V_VOID)
        fail(std::string("'") + n->u.sym->name + "' used as a type without value");
    lv.units = units_of(n->type);
    LOCAL* local = local_of(n);
    if (local == nullptr) {
        const GLOBAL& g = unit_.global_of(n->u.sym);
        if (g.function != nullptr) fail(std::string("function '") + n->u.sym->name + "' used as an object");
        lv.place.offset = g.at;
        return lv;
    }
    lv.counted = local->address_taken || lv.kind == V_BLOCK || kind_of(local->symbol->otype) == V_BLOCK;
    switch (local->where) {
    case LOCAL::IN_SLOT: lv.local = local; break;
    case LOCAL::IN_FRAME:
        lv.place.base = PLACE::FRAME;
        lv.place.offset = local->frame_at;
        break;
    case LOCAL::BY_ADDRESS:
        lv.place.base = PLACE::SLOT;
        lv.place.slot = local->slot;
        break;
    }
    return lv;
}

FUNCTION_GEN::LVALUE FUNCTION_GEN::member(NODE* n, PLACE object) {
    NODE* field = operand(n, true);
    if (field->op != FIELD || field->mval == nullptr) fail(std::string(opname(n->op)) + " without member");
    const fkMDATA* m = field->mval;
    LVALUE lv;
    lv.place = object;
    lv.kind = kind_of(n->type);
    if (lv.kind == V_BAD || lv.kind == V_VOID || lv.kind == V_FUNC)
        fail("member '" + m->name + "' of a type without value");
    lv.units = units_of(n->type);
    if (m->bit_offset < 0) fail("member '" + m->name + "' in front of its struct");
    if (m->is_bitfield) {
        if (!is_integer_kind(lv.kind) || m->bit_size == 0 || m->bit_size > 64 || m->bit_size > lv.units * 16)
            fail("bit-field '" + m->name + "' of a size that its type has not");
        lv.is_bits = true;
        lv.first_bit = static_cast<uint32_t>(m->bit_offset);
        lv.width = m->bit_size;
    } else {
        if (m->bit_offset % 16 != 0) fail("member '" + m->name + "' between two units");
        lv.place.offset += m->bit_offset / 16;
    }
    return lv;
}

FUNCTION_GEN::LVALUE FUNCTION_GEN::lvalue(NODE* n) {
    if (++depth_ > max_depth) fail("expression nests too deeply");
    if (n->type == nullptr) fail(std::string(opname(n->op)) + " without type");
    LVALUE lv;
    switch (n->op) {
    case NAME:
        count_node();
        if (n->u.sym == nullptr) fail("NAME without symbol");
        lv = lvalue_of_name(n);
        break;
    case UMULT:
        count_node();
        lv.kind = kind_of(n->type);
        if (lv.kind == V_BAD || lv.kind == V_VOID) fail("dereferenced to a type without value");
        lv.units = units_of(n->type);
        lv.place = place_of_pointer(operand(n));
        break;
    case STDOT:
        count_node();
        lv = member(n, place_of_object(operand(n)));
        break;
    case STREF:
        count_node();
        lv = member(n, place_of_pointer(operand(n)));
        break;
    case EPVAL:
    case DDNODE: lv = lvalue(operand(n)); break;
    case COMMAOP: {
        NODE* last = n;
        for (; last->op == COMMAOP; last = operand(last, true)) effect(operand(last));
        lv = lvalue(last);
        break;
    }
    default:
        if (kind_of(n->type) != V_BLOCK ||
            (n->op != CALL && n->op != UCALL && n->op != STASG && n->op != ARASG && n->op != QUEST && n->op != STARG))
            fail(std::string(opname(n->op)) + " where an object must stand");
        lv.kind = V_BLOCK;
        lv.units = units_of(n->type);
        lv.place = place_of_object(n);
    }
    --depth_;
    return lv;
}

// A struct, union or array: an lvalue, or what an expression of such a type yields.
PLACE FUNCTION_GEN::place_of_object(NODE* n) {
    if (++depth_ > max_depth) fail("expression nests too deeply");
    PLACE p;
    switch (n->op) {
    case CALL:
    case UCALL: p = call_block(n); break;
    case STASG:
    case ARASG: p = assign_block(n); break;
    case QUEST: p = place_of_choice(n); break;
    case STARG:
    case ARGREF: p = place_of_object(operand(n)); break;
    default: {
        LVALUE lv = lvalue(n);
        if (lv.local != nullptr || lv.is_bits) fail("scalar where a struct must stand");
        p = lv.place;
    }
    }
    --depth_;
    return p;
}

PLACE FUNCTION_GEN::place_of_choice(NODE* n) {
    NODE* arms = operand(n, true);
    if (arms->op != COLON) fail("? without its two arms");
    int to = new_slot();
    int keep = top_;
    uint32_t otherwise = new_label(), end = new_label();
    count_node();
    condition(operand(n), false, otherwise);
    move_to(address_value(place_of_object(operand(arms))), to);
    top_ = keep;
    jump(B_JMP, 0, 0, 0, end, false);
    bind(otherwise);
    move_to(address_value(place_of_object(operand(arms, true))), to);
    top_ = keep;
    bind(end);
    return place_at(VALUE::in(to, V_UW));
}

// ------------------------------------------------------------------------------------------------- loads and stores

VALUE FUNCTION_GEN::read_local(LOCAL& local) {
    if (local.checked) {
        if (local.name_text < 0) local.name_text = static_cast<int>(unit_.text_number(local.symbol->name));
        INSN& check = emit(B_CHECK, local.slot);
        check.x = local.name_text;
        check.y = local.slot;
    }
    if (local.hazard != statement_number_) return VALUE::in(local.slot, local.kind);
    // The same statement assigns to it inside an expression: the value as it is now must be kept.
    int copy = new_slot();
    emit(B_MOV, copy, local.slot);
    return VALUE::in(copy, local.kind);
}

VALUE FUNCTION_GEN::load(const LVALUE& lv, int want) {
    if (lv.local != nullptr) {
        VALUE v = read_local(*lv.local);
        return lv.kind == v.kind ? v : convert(v, lv.kind, want);
    }
    if (lv.kind == V_BLOCK) return address_value(lv.place, want); // an array stands for its address
    if (!is_scalar_kind(lv.kind)) fail("value of a type without values");
    if (lv.counted) count(C_loads);
    if (lv.is_bits) {
        VALUE at = in_slot(address_value(lv.place));
        int to = want != no_slot ? want : new_slot();
        INSN& i = emit(B_LD_BITS, to, at.slot);
        i.x = static_cast<int32_t>(lv.first_bit);
        i.y = static_cast<int32_t>(lv.width | (is_signed_kind(lv.kind) ? 0x100 : 0));
        return VALUE::in(to, lv.kind);
    }
    int to = want != no_slot ? want : new_slot();
    place_fields(emit_op(load_op(lv.kind) + loads_a_form * form_of(lv.place), to, 0, 0), lv.place);
    return VALUE::in(to, lv.kind);
}

void FUNCTION_GEN::store(const LVALUE& lv, VALUE v) {
    if (lv.local != nullptr) {
        move_to(lv.kind == lv.local->kind ? v : convert(v, lv.local->kind), lv.local->slot);
        return;
    }
    if (!is_scalar_kind(lv.kind)) fail("assignment of a scalar to what is none");
    if (lv.counted) count(C_stores);
    v = in_slot(v);
    if (lv.is_bits) {
        VALUE at = in_slot(address_value(lv.place));
        INSN& i = emit(B_ST_BITS, v.slot, at.slot);
        i.x = static_cast<int32_t>(lv.first_bit);
        i.y = static_cast<int32_t>(lv.width);
        return;
    }
    place_fields(emit_op(store_op(lv.kind) + stores_a_form * form_of(lv.place), v.slot, 0, 0), lv.place);
}

// What a bit-field reads as after the value was stored.
VALUE FUNCTION_GEN::stored_bits(const LVALUE& lv, VALUE v, int want) {
    if (!lv.is_bits || lv.width == 64) return v;
    bool is_signed = is_signed_kind(lv.kind);
    unsigned drop = 64 - lv.width;
    if (v.constant) {
        uint64_t up = static_cast<uint64_t>(v.imm) << drop;
        return VALUE::of(is_signed ? static_cast<int64_t>(up) >> drop : static_cast<int64_t>(up >> drop), lv.kind);
    }
    int to = want != no_slot ? want : new_slot();
    if (!is_signed) {
        emit_imm(B_AND_RI, to, v.slot, static_cast<int64_t>(~uint64_t{0} >> drop));
    } else {
        int shifted = new_slot();
        emit_imm(B_SHL_RI_L, shifted, v.slot, drop);
        emit_imm(B_SHR_S_RI, to, shifted, drop);
    }
    return VALUE::in(to, lv.kind);
}

// ----------------------------------------------------------------------------------------------------------- blocks

void FUNCTION_GEN::copy_block(const PLACE& to, const PLACE& from, uint32_t units) {
    if (units == 0) return;
    VALUE a = in_slot(address_value(to));
    VALUE b = in_slot(address_value(from));
    emit_imm(B_COPY, a.slot, b.slot, units);
    count(C_loads, (units + 1) / 2);
    count(C_stores, (units + 1) / 2);
}

PLACE FUNCTION_GEN::assign_block(NODE* n) {
    count_node();
    NODE* left = operand(n);
    NODE* right = operand(n, true);
    if (kind_of(left->type) != V_BLOCK || kind_of(right->type) != V_BLOCK)
        fail(std::string(opname(n->op)) + " of what is no struct or array");
    uint32_t units = units_of(left->type);
    if (units_of(right->type) != units) fail(std::string(opname(n->op)) + " of objects of different sizes");
    PLACE from = place_of_object(right);
    PLACE to = place_of_object(left);
    copy_block(to, from, units);
    return to;
}

VALUE FUNCTION_GEN::block_copy_call(NODE* n) {
    std::vector<NODE*> items = list_items(operand(n));
    if (items.size() != 3) fail("MEMCPY without its three operands");
    VALUE to = in_slot(coerced(value(items[0]), V_UW, n));
    VALUE from = in_slot(coerced(value(items[1]), V_UW, n));
    VALUE length = value(items[2]);
    if (!is_integer_kind(length.kind)) fail("MEMCPY with a length that is no integer");
    if (length.constant && length.imm >= 0) {
        emit_imm(B_COPY, to.slot, from.slot, length.imm);
        uint32_t words = static_cast<uint32_t>(std::min<int64_t>((length.imm + 1) / 2, UINT32_MAX));
        count(C_loads, words);
        count(C_stores, words);
    } else {
        length = convert(length, V_UW);
        emit(B_COPY_N, to.slot, from.slot, in_slot(length).slot);
    }
    return to;
}
