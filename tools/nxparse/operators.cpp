// Operators: arithmetic, pointers, comparison, assignment, increment.
#include "front.h"

using namespace clang;

namespace {

// Alike in the machine: what decides whether an assignment operator computes in the type that C wants.
bool same_machine_type(TYPE* a, TYPE* b) {
    return a->size_bits == b->size_bits && a->is_fltpt() == b->is_fltpt() && a->is_ptr() == b->is_ptr() &&
           (a->is_fltpt() || a->is_signed() == b->is_signed());
}

TYPE* promoted(TYPE* t) { return t->is_integral() && (t->size_bits < 32 || t->is_bool()) ? tp->int_type() : t; }

// The type in which an assignment operator on these operands computes.
TYPE* combined(TYPE* a, TYPE* b) {
    a = promoted(a);
    b = promoted(b);
    if (a->is_fltpt() || b->is_fltpt()) {
        if (!a->is_fltpt()) return b;
        if (!b->is_fltpt()) return a;
        return a->size_bits >= b->size_bits ? a : b;
    }
    if (a->size_bits != b->size_bits) return a->size_bits > b->size_bits ? a : b;
    return a->is_signed() ? b : a;
}

int plain_opcode(BinaryOperatorKind op) {
    switch (op) {
    case BO_Add: return PLUS;
    case BO_Sub: return MINUS;
    case BO_Mul: return MULT;
    case BO_Div: return DIV;
    case BO_Rem: return MOD;
    case BO_And: return ANDB;
    case BO_Or: return ORB;
    case BO_Xor: return XORB;
    case BO_Shl: return SLL;
    case BO_Shr: return SRL;
    default: return ILLOP;
    }
}

int assign_opcode(int plain) {
    switch (plain) {
    case PLUS: return PLUSASG;
    case MINUS: return MINUSASG;
    case MULT: return MULTASG;
    case DIV: return DIVASG;
    case MOD: return MODASG;
    case ANDB: return ANDBASG;
    case ORB: return ORBASG;
    case XORB: return XORBASG;
    case SLL: return SLLASG;
    default: return SRLASG;
    }
}

} // namespace

// An index or pointer offset as an integer of pointer width.
NODE* FRONT::index(NODE* i) {
    TYPE* t = i->type->stqs();
    bool is_unsigned = t->size_bits >= 32 && !t->is_signed();
    TYPE* to = is_unsigned ? tp->uint_type() : tp->int_type();
    if (i->op == ICON) {
        INT65 v = i->u.lval;
        erase_tree(i);
        return icon(v, to);
    }
    return convert(i, to);
}

NODE* FRONT::offset_pointer(NODE* p, NODE* i, bool subtract, SourceLocation where) {
    if (!p->type->is_ptr()) std::swap(p, i);
    TYPE* t = p->type->stqs();
    uint32_t units = m.size_of(t->type_pointed_to(), where);
    i = index(i);
    if (i->op == ICON) {
        INT65 v = i->u.lval * INT65(units);
        TYPE* it = i->type;
        erase_tree(i);
        if (truncate_to_type(v, it).is_zero()) return p;
        return node2(subtract ? MINUS : PLUS, t, p, icon(v, it));
    }
    TYPE* it = i->type->stqs();
    return node2(subtract ? MINUS : PLUS, t, p, node2(PMCONV, it, i, icon(int64_t{units} * 16)));
}

NODE* FRONT::pointer_difference(NODE* a, NODE* b, SourceLocation where) {
    TYPE* object = a->type->type_pointed_to();
    uint32_t units = m.size_of(object, where);
    if (units == 0) m.refuse(where, "difference of pointers to objects without size");
    b = convert(b, a->type->stqs());
    NODE* n = node2(MINUS, tp->int_type(), a, b);
    return units == 1 ? n : node2(PVCONV, tp->int_type(), n, icon(int64_t{units} * 16));
}

NODE* FRONT::unary(const UnaryOperator* e) {
    const Expr* sub = e->getSubExpr();
    TYPE* t = m.value_type(m.type_of_expr(e));
    switch (e->getOpcode()) {
    case UO_PostInc:
    case UO_PostDec:
    case UO_PreInc:
    case UO_PreDec: return increment(e, true);
    case UO_Plus:
    case UO_Extension: return value(sub);
    case UO_Minus: return node1(UMINUS, t, value(sub));
    case UO_Not: return node1(NOTB, t, value(sub));
    case UO_LNot: {
        NODE* n = value(sub);
        TYPE* from = n->type->stqs();
        if (from->is_fltpt()) return node2(EQ, tp->int_type(), n, fcon("0", from));
        if (from->is_integral() && from->size_bits > 32) return node2(EQ, tp->int_type(), n, icon(INT65(0), from));
        return node1(EXCLAIM, tp->int_type(), n);
    }
    case UO_AddrOf: {
        const Expr* x = sub->IgnoreParens();
        TYPE* pointer = m.type_of_expr(e);
        if (m.type_of_expr(x)->is_func()) return convert(decay(x), pointer);
        PLACE p = lvalue(x);
        return sequence(p.pre, address(p.node, pointer));
    }
    case UO_Deref: {
        PLACE p = lvalue(e);
        if (p.node->op == UMULT && m.type_of_expr(e)->is_func())
            return address(p.node, m.pointer_to(m.type_of_expr(e)));
        return sequence(p.pre, p.node);
    }
    default: m.refuse(e->getExprLoc(), "this operator is not supported");
    }
}

FRONT::TWICE FRONT::lvalue_twice(const Expr* e, PLACE p) {
    if (p.node->op == NAME || (p.pre == nullptr && !e->HasSideEffects(ctx))) return {p.pre, p.node, copy_tree(p.node)};
    // The address goes to a temporary; of a bit-field, the address of its record.
    bool bitfield = (p.node->op == STDOT || p.node->op == STREF) && p.node->right->mval->is_bitfield;
    if (!bitfield) {
        TYPE* object = p.node->type;
        SYMTAB* temp = temporary(m.pointer_to(object));
        NODE* store = node2(ASG, temp->type, name_of(temp, temp->type), address(p.node, temp->type));
        return {sequence(p.pre, store), node1(UMULT, object, name_of(temp, temp->type)),
                node1(UMULT, object, name_of(temp, temp->type))};
    }
    NODE* base = p.node->left;
    if (p.node->op == STDOT) base = address(base, m.pointer_to(base->type));
    SYMTAB* temp = temporary(base->type);
    NODE* store = node2(ASG, temp->type, name_of(temp, temp->type), base);
    NODE* field = p.node->right;
    NODE* first = node2(STREF, p.node->type, name_of(temp, temp->type), field);
    NODE* second = node2(STREF, p.node->type, name_of(temp, temp->type), field_of(field->mval, field->u.csu));
    p.node->left = p.node->right = nullptr;
    erase_tree(p.node);
    return {sequence(p.pre, store), first, second};
}

NODE* FRONT::increment(const UnaryOperator* e, bool value_needed) {
    const Expr* sub = e->getSubExpr();
    bool up = e->isIncrementOp();
    bool postfix = e->isPostfix();
    TYPE* t = m.value_type(m.type_of_expr(sub));
    if (const auto* me = dyn_cast<MemberExpr>(sub->IgnoreParens()))
        if (const auto* f = dyn_cast<FieldDecl>(me->getMemberDecl()))
            if (f->isBitField()) t = m.value_type(m.member(f).type);
    if (t->is_ptr()) {
        NODE* step = icon(m.size_of(t->type_pointed_to(), e->getExprLoc()));
        PLACE p = lvalue(sub);
        int op = postfix ? (up ? PLUSPLUS : MINMIN) : (up ? PLUSASG : MINUSASG);
        return sequence(p.pre, node2(op, t, p.node, step));
    }
    if (t->is_integral() && !t->is_bool()) {
        PLACE p = lvalue(sub);
        int op = postfix ? (up ? PLUSPLUS : MINMIN) : (up ? PLUSASG : MINUSASG);
        return sequence(p.pre, node2(op, t, p.node, icon(INT65(1), promoted(t))));
    }
    if (t->is_fltpt() && (!postfix || !value_needed)) {
        PLACE p = lvalue(sub);
        return sequence(p.pre, node2(up ? PLUSASG : MINUSASG, t, p.node, fcon("1", t)));
    }
    if (t->is_bool() && up && (!postfix || !value_needed)) {
        PLACE p = lvalue(sub);
        return sequence(p.pre, node2(ASG, t, p.node, icon(INT65(1), t)));
    }
    if (!t->is_fltpt() && !t->is_bool()) m.refuse(e->getExprLoc(), "this operand is not supported");
    // The old value is kept where it is wanted.
    TWICE lv = lvalue_twice(sub, lvalue(sub));
    if (t->is_bool() && (!postfix || !value_needed)) // --b is !b
        return sequence(lv.pre, node2(ASG, t, lv.first, node1(SCONV, t, node1(EXCLAIM, tp->int_type(), lv.second))));
    SYMTAB* old = temporary(t);
    NODE* save = node2(ASG, t, name_of(old, t), lv.second);
    NODE* changed = nullptr;
    if (t->is_fltpt())
        changed = node2(up ? PLUS : MINUS, t, name_of(old, t), fcon("1", t));
    else if (up)
        changed = icon(INT65(1), t);
    else
        changed = node1(SCONV, t, node1(EXCLAIM, tp->int_type(), name_of(old, t)));
    NODE* all = sequence(sequence(save, node2(ASG, t, lv.first, changed)), name_of(old, t));
    return sequence(lv.pre, all);
}

NODE* FRONT::comparison(const BinaryOperator* e) {
    NODE* a = value(e->getLHS());
    NODE* b = value(e->getRHS());
    TYPE* t = m.value_type(a->type);
    bool pointers = t->is_ptr() || m.value_type(b->type)->is_ptr();
    if (pointers && !t->is_ptr()) {
        t = m.value_type(b->type);
        a = convert(a, t);
    }
    b = convert(b, t);
    bool by_bits = pointers || t->is_unsigned();
    int op = EQ;
    switch (e->getOpcode()) {
    case BO_EQ: op = EQ; break;
    case BO_NE: op = NEQ; break;
    case BO_LT: op = by_bits ? ULT : LT; break;
    case BO_GT: op = by_bits ? UGT : GT; break;
    case BO_LE: op = by_bits ? ULE : LE; break;
    case BO_GE: op = by_bits ? UGE : GE; break;
    default: m.refuse(e->getExprLoc(), "this operator is not supported");
    }
    return node2(op, tp->int_type(), a, b);
}

NODE* FRONT::assignment(const BinaryOperator* e) {
    if (e->getType()->isRecordType()) {
        PLACE p = struct_value(e);
        return sequence(p.pre, p.node);
    }
    PLACE to = lvalue(e->getLHS());
    TYPE* t = m.value_type(to.node->type);
    NODE* from = convert(value(e->getRHS()), t);
    return sequence(to.pre, node2(ASG, t, to.node, from));
}

NODE* FRONT::compound_assignment(const CompoundAssignOperator* e) {
    BinaryOperatorKind kind = BinaryOperator::getOpForCompoundAssignment(e->getOpcode());
    int plain = plain_opcode(kind);
    bool shift = plain == SLL || plain == SRL;
    PLACE to = lvalue(e->getLHS());
    TYPE* t = m.value_type(to.node->type);
    if (t->is_ptr()) {
        NODE* sum = offset_pointer(name_of(nullptr, t), value(e->getRHS()), plain == MINUS, e->getExprLoc());
        if (sum->op == NAME) { // p += 0
            erase_tree(sum);
            return sequence(to.pre, node2(PLUSASG, t, to.node, icon(0)));
        }
        NODE* step = sum->right;
        sum->right = nullptr;
        erase_tree(sum);
        return sequence(to.pre, node2(plain == MINUS ? MINUSASG : PLUSASG, t, to.node, step));
    }
    TYPE* compute = m.value_type(m.type_of(e->getComputationLHSType(), e->getExprLoc()));
    NODE* right = value(e->getRHS());
    right = shift ? convert(right, tp->int_type()) : convert(right, compute);
    TYPE* own = shift ? promoted(t) : combined(t, right->type->stqs());
    bool direct =
        t->is_fltpt() ? t == compute : !t->is_bool() && !compute->is_fltpt() && same_machine_type(own, compute);
    if (direct) return sequence(to.pre, node2(assign_opcode(plain), t, to.node, right));
    TWICE lv = lvalue_twice(e->getLHS(), to);
    NODE* result = node2(plain, compute, convert(lv.second, compute), right);
    return sequence(lv.pre, node2(ASG, t, lv.first, convert(result, t)));
}

NODE* FRONT::binary(const BinaryOperator* e) {
    BinaryOperatorKind op = e->getOpcode();
    if (e->isComparisonOp()) return comparison(e);
    if (op == BO_Assign) return assignment(e);
    switch (op) {
    case BO_LAnd:
    case BO_LOr: {
        NODE* a = condition(e->getLHS());
        NODE* b = condition(e->getRHS());
        return node2(op == BO_LAnd ? ANDAND : OROR, tp->int_type(), a, b);
    }
    case BO_Comma: {
        NODE* first = effect_tree(e->getLHS());
        return sequence(first, value(e->getRHS()));
    }
    default: break;
    }
    TYPE* t = m.value_type(m.type_of_expr(e));
    NODE* a = value(e->getLHS());
    NODE* b = value(e->getRHS());
    if (a->type->is_ptr() && b->type->is_ptr()) return pointer_difference(a, b, e->getExprLoc());
    if (a->type->is_ptr() || b->type->is_ptr()) return offset_pointer(a, b, op == BO_Sub, e->getExprLoc());
    int plain = plain_opcode(op);
    if (plain == ILLOP) m.refuse(e->getExprLoc(), "this operator is not supported");
    if (plain == SLL || plain == SRL) return node2(plain, t, convert(a, t), convert(b, tp->int_type()));
    return node2(plain, t, convert(a, t), convert(b, t));
}
