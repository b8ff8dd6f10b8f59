// Constant expressions, evaluated as the target computes them.
//
// Integers are exact at the width of their type here (a char has 16 bits); floats follow their format, round to nearest
// even; addresses are an object or function and an offset in 16-bit units.
#include "model.h"

using namespace clang;
using llvm::APFloat;
using llvm::APInt;
using llvm::APSInt;

CVAL MODEL::make_int(int64_t value, TYPE* t) {
    CVAL v;
    v.kind = CVAL::INT;
    v.type = unqual(t);
    v.i = APSInt(APInt(v.type->size_bits, uint64_t(value), true), !v.type->is_signed());
    return v;
}

const llvm::fltSemantics& MODEL::semantics(TYPE* t) {
    return t->size_bits == 32 ? APFloat::IEEEsingle() : APFloat::IEEEdouble();
}

APFloat MODEL::round_to(APFloat f, TYPE* t) {
    bool inexact = false;
    f.convert(semantics(t), APFloat::rmNearestTiesToEven, &inexact);
    return f;
}

bool MODEL::convert(CVAL& v, TYPE* to) {
    to = value_type(to);
    bool known_bool = v.kind != CVAL::NONE;
    if (to->is_integral() && to->is_bool()) {
        if (!known_bool) return false;
        v = make_int(v.is_zero() ? 0 : 1, to);
        return true;
    }
    if (to->is_integral()) {
        unsigned width = to->size_bits;
        APSInt r(width, !to->is_signed());
        if (v.kind == CVAL::INT) {
            r = APSInt(v.i.extOrTrunc(width), !to->is_signed());
        } else if (v.kind == CVAL::FLT) {
            bool exact = false;
            if (v.f.convertToInteger(r, APFloat::rmTowardZero, &exact) == APFloat::opInvalidOp) return false;
        } else if (v.kind == CVAL::ADDR && v.decl == nullptr && v.literal == nullptr) {
            r = APSInt(APInt(32, uint64_t(v.units), true).zextOrTrunc(width), !to->is_signed());
        } else {
            if (v.kind != CVAL::ADDR || width != 32) return false;
            v.type = to; // the address of an object as an integer
            return true;
        }
        CVAL out;
        out.kind = CVAL::INT;
        out.type = to;
        out.i = r;
        v = out;
        return true;
    }
    if (to->is_fltpt()) {
        APFloat f(semantics(to));
        if (v.kind == CVAL::INT) {
            f.convertFromAPInt(v.i, v.i.isSigned(), APFloat::rmNearestTiesToEven);
        } else if (v.kind == CVAL::FLT) {
            f = round_to(v.f, to);
        } else {
            return false;
        }
        CVAL out;
        out.kind = CVAL::FLT;
        out.type = to;
        out.f = f;
        v = out;
        return true;
    }
    if (!to->is_ptr()) return false;
    if (v.kind == CVAL::INT) {
        CVAL out;
        out.kind = CVAL::ADDR;
        out.units = int64_t(uint32_t(v.i.extOrTrunc(64).getZExtValue()));
        v = out;
    }
    v.type = to;
    return v.kind == CVAL::ADDR;
}

void MODEL::collect_enumerators(const EnumDecl* e) {
    int64_t next = 0;
    for (const EnumConstantDecl* c : e->enumerators()) {
        if (enumerators_.count(c) != 0) continue;
        if (c->getInitExpr() != nullptr)
            next = int_constant(c->getInitExpr(), "enumerator").extOrTrunc(64).getSExtValue();
        bool fits = c->getInitVal().getBitWidth() > 32 || (next >= INT32_MIN && next <= int64_t{UINT32_MAX});
        if (!fits) refuse(c->getLocation(), "value of the enumerator does not fit its type");
        enumerators_.emplace(c, APSInt(APInt(64, uint64_t(next), true), false));
        ++next;
    }
}

APSInt MODEL::enumerator(const EnumConstantDecl* c) {
    auto found = enumerators_.find(c);
    if (found == enumerators_.end()) {
        collect_enumerators(cast<EnumDecl>(c->getDeclContext()));
        found = enumerators_.find(c);
    }
    return found->second;
}

APSInt MODEL::int_constant(const Expr* e, const char* what) {
    CVAL v;
    if (!eval(e, v) || v.kind != CVAL::INT) refuse(e->getExprLoc(), llvm::Twine(what) + " is not an integer constant");
    return v.i;
}

bool MODEL::eval_sizeof(const UnaryExprOrTypeTraitExpr* e, CVAL& out) {
    TYPE* t = e->isArgumentType() ? type_of(e->getArgumentTypeInfo()) : type_of_expr(e->getArgumentExpr());
    switch (e->getKind()) {
    case UETT_SizeOf: out = make_int(size_of(t, e->getExprLoc()), tp->uint_type()); return true;
    case UETT_AlignOf:
    case UETT_PreferredAlignOf:
        size_of(t->is_array() ? t->elem_type() : t, e->getExprLoc());
        out = make_int(t->align_bits < 16 ? 1 : t->align_bits / 16, tp->uint_type());
        return true;
    default: return false;
    }
}

bool MODEL::eval_offsetof(const OffsetOfExpr* e, CVAL& out) {
    TYPE* t = type_of(e->getTypeSourceInfo());
    int64_t bits = 0;
    for (unsigned i = 0; i < e->getNumComponents(); ++i) {
        const OffsetOfNode& node = e->getComponent(i);
        if (node.getKind() == OffsetOfNode::Field) {
            const MEMBER& m = member(node.getField());
            bits += int64_t(m.offset);
            t = m.type;
        } else if (node.getKind() == OffsetOfNode::Array) {
            CVAL index;
            if (!t->is_array() || !eval(e->getIndexExpr(node.getArrayExprIndex()), index) || index.kind != CVAL::INT)
                return false;
            t = t->elem_type();
            bits += index.i.extOrTrunc(64).getSExtValue() * int64_t(t->size_bits);
        } else {
            return false;
        }
    }
    out = make_int(bits / 16, tp->uint_type());
    return true;
}

bool MODEL::add_units(CVAL& address, const APSInt& index, TYPE* elem, bool subtract) {
    int64_t step = index.extOrTrunc(64).getSExtValue() * int64_t(elem->is_void() || elem->is_func() ? 1 : units(elem));
    address.units += subtract ? -step : step;
    if (address.decl == nullptr && address.literal == nullptr) address.units = int64_t(uint32_t(address.units));
    return true;
}

bool MODEL::eval_lvalue(const Expr* e, CVAL& out) {
    e = e->IgnoreParens();
    out = CVAL();
    if (const auto* ref = dyn_cast<DeclRefExpr>(e)) {
        const ValueDecl* d = ref->getDecl();
        const auto* v = dyn_cast<VarDecl>(d);
        if (!(v != nullptr && v->hasGlobalStorage()) && !isa<FunctionDecl>(d)) return false;
        out.kind = CVAL::ADDR;
        out.decl = d->getCanonicalDecl();
        return true;
    }
    if (isa<StringLiteral>(e) || isa<PredefinedExpr>(e)) {
        out.kind = CVAL::ADDR;
        out.literal = e;
        return true;
    }
    if (const auto* c = dyn_cast<CompoundLiteralExpr>(e)) {
        if (!c->isFileScope()) return false;
        out.kind = CVAL::ADDR;
        out.literal = e;
        return true;
    }
    if (const auto* m = dyn_cast<MemberExpr>(e)) {
        const auto* f = dyn_cast<FieldDecl>(m->getMemberDecl());
        if (f == nullptr || f->isBitField()) return false;
        if (!(m->isArrow() ? eval(m->getBase(), out) : eval_lvalue(m->getBase(), out)) || out.kind != CVAL::ADDR)
            return false;
        out.units += int64_t(member(f).offset / 16);
        return true;
    }
    if (const auto* a = dyn_cast<ArraySubscriptExpr>(e)) {
        CVAL index;
        if (!eval(a->getBase(), out) || out.kind != CVAL::ADDR || !eval(a->getIdx(), index) || index.kind != CVAL::INT)
            return false;
        return add_units(out, index.i, type_of_expr(a->getBase())->type_pointed_to(), false);
    }
    if (const auto* u = dyn_cast<UnaryOperator>(e)) {
        if (u->getOpcode() == UO_Deref) return eval(u->getSubExpr(), out) && out.kind == CVAL::ADDR;
        if (u->getOpcode() == UO_Extension) return eval_lvalue(u->getSubExpr(), out);
    }
    if (const auto* g = dyn_cast<GenericSelectionExpr>(e)) return eval_lvalue(g->getResultExpr(), out);
    if (const auto* c = dyn_cast<ChooseExpr>(e)) return eval_lvalue(c->getChosenSubExpr(), out);
    if (const auto* c = dyn_cast<CastExpr>(e))
        if (c->getCastKind() == CK_NoOp) return eval_lvalue(c->getSubExpr(), out);
    return false;
}

bool MODEL::eval_cast(const CastExpr* e, CVAL& out) {
    const Expr* sub = e->getSubExpr();
    TYPE* to = type_of_expr(e);
    switch (e->getCastKind()) {
    case CK_LValueToRValue: {
        // The value of a const variable, as an extension.
        const auto* ref = dyn_cast<DeclRefExpr>(sub->IgnoreParens());
        const auto* v = ref != nullptr ? dyn_cast<VarDecl>(ref->getDecl()) : nullptr;
        if (v == nullptr || !v->getType().isConstQualified() || v->getType().isVolatileQualified()) return false;
        const Expr* init = v->getAnyInitializer();
        return init != nullptr && v->getType()->isArithmeticType() && eval(init, out) && convert(out, to);
    }
    case CK_ArrayToPointerDecay:
    case CK_FunctionToPointerDecay:
        if (!eval_lvalue(sub, out)) return false;
        out.type = to;
        return true;
    case CK_NullToPointer:
    case CK_NoOp:
    case CK_BitCast:
    case CK_IntegralToPointer:
    case CK_PointerToIntegral:
    case CK_PointerToBoolean:
    case CK_IntegralCast:
    case CK_IntegralToBoolean:
    case CK_IntegralToFloating:
    case CK_FloatingToIntegral:
    case CK_FloatingToBoolean:
    case CK_FloatingCast: {
        if (!eval(sub, out)) return false;
        // The values of an enum have the sign that Clang gives them.
        if (out.kind == CVAL::INT && sub->getType()->isEnumeralType() &&
            !convert(out, enum_value_type(sub->getType(), sub->getExprLoc())))
            return false;
        return convert(out, to);
    }
    default: return false;
    }
}

bool MODEL::eval_unary(const UnaryOperator* e, CVAL& out) {
    const Expr* sub = e->getSubExpr();
    switch (e->getOpcode()) {
    case UO_AddrOf:
        if (!eval_lvalue(sub, out)) return false;
        out.type = type_of_expr(e);
        return true;
    case UO_Extension:
    case UO_Plus: return eval(sub, out);
    case UO_Minus:
        if (!eval(sub, out)) return false;
        if (out.kind == CVAL::FLT) out.f.changeSign();
        if (out.kind == CVAL::INT) out.i = APSInt(-out.i, out.i.isUnsigned());
        return out.kind != CVAL::ADDR;
    case UO_Not:
        if (!eval(sub, out) || out.kind != CVAL::INT) return false;
        out.i = APSInt(~out.i, out.i.isUnsigned());
        return true;
    case UO_LNot:
        if (!eval(sub, out)) return false;
        out = make_int(out.is_zero() ? 1 : 0, tp->int_type());
        return true;
    default: return false;
    }
}

bool MODEL::eval_int_binary(BinaryOperatorKind op, const CVAL& a, const CVAL& b, CVAL& out) {
    out = a;
    const APSInt &x = a.i, &y = b.i;
    APInt r;
    switch (op) {
    case BO_Add: r = x + y; break;
    case BO_Sub: r = x - y; break;
    case BO_Mul: r = x * y; break;
    case BO_Div:
    case BO_Rem:
        if (y == 0) return false;
        if (x.isSigned() && y.isAllOnes())
            r = op == BO_Div ? APInt(-x) : APInt(x.getBitWidth(), 0);
        else
            r = op == BO_Div ? x / y : x % y;
        break;
    case BO_And: r = x & y; break;
    case BO_Or: r = x | y; break;
    case BO_Xor: r = x ^ y; break;
    case BO_Shl:
    case BO_Shr: {
        unsigned width = x.getBitWidth();
        bool out_of_range = y.isNegative() || y.getActiveBits() > 32 || y.getZExtValue() >= width;
        unsigned n = out_of_range ? width : unsigned(y.getZExtValue());
        r = op == BO_Shl ? x.shl(n) : x.isSigned() ? x.ashr(n) : x.lshr(n);
        break;
    }
    default: return false;
    }
    out.i = APSInt(r, x.isUnsigned());
    return true;
}

bool MODEL::eval_compare(BinaryOperatorKind op, const CVAL& a, const CVAL& b, CVAL& out) {
    int order = 0; // -1 less, 0 equal, 1 greater, 2 unordered
    if (a.kind == CVAL::INT && b.kind == CVAL::INT) {
        order = a.i < b.i ? -1 : a.i == b.i ? 0 : 1;
    } else if (a.kind == CVAL::FLT && b.kind == CVAL::FLT) {
        APFloat::cmpResult c = a.f.compare(b.f);
        order = c == APFloat::cmpLessThan ? -1 : c == APFloat::cmpEqual ? 0 : c == APFloat::cmpGreaterThan ? 1 : 2;
    } else if (a.kind == CVAL::ADDR && b.kind == CVAL::ADDR) {
        if (a.decl == b.decl && a.literal == b.literal) {
            order = a.units < b.units ? -1 : a.units == b.units ? 0 : 1;
        } else {
            if (op != BO_EQ && op != BO_NE) return false;
            order = 2;
        }
    } else {
        return false;
    }
    bool r = false;
    switch (op) {
    case BO_LT: r = order == -1; break;
    case BO_GT: r = order == 1; break;
    case BO_LE: r = order == -1 || order == 0; break;
    case BO_GE: r = order == 1 || order == 0; break;
    case BO_EQ: r = order == 0; break;
    case BO_NE: r = order != 0; break;
    default: return false;
    }
    out = make_int(r ? 1 : 0, tp->int_type());
    return true;
}

bool MODEL::eval_binary(const BinaryOperator* e, CVAL& out) {
    CVAL a, b;
    BinaryOperatorKind op = e->getOpcode();
    if (op == BO_LAnd || op == BO_LOr) {
        if (!eval(e->getLHS(), a)) return false;
        bool decided = a.is_zero() == (op == BO_LAnd);
        if (!decided && !eval(e->getRHS(), b)) return false;
        bool r = decided ? op == BO_LOr : !b.is_zero();
        out = make_int(r ? 1 : 0, tp->int_type());
        return true;
    }
    if (op == BO_Comma) return !e->getLHS()->HasSideEffects(ctx) && eval(e->getRHS(), out);
    if (e->isAssignmentOp() || !eval(e->getLHS(), a) || !eval(e->getRHS(), b)) return false;
    if (e->isComparisonOp()) return eval_compare(op, a, b, out);
    if (a.kind == CVAL::FLT && b.kind == CVAL::FLT) {
        out = a;
        switch (op) {
        case BO_Add: out.f.add(b.f, APFloat::rmNearestTiesToEven); return true;
        case BO_Sub: out.f.subtract(b.f, APFloat::rmNearestTiesToEven); return true;
        case BO_Mul: out.f.multiply(b.f, APFloat::rmNearestTiesToEven); return true;
        case BO_Div: out.f.divide(b.f, APFloat::rmNearestTiesToEven); return true;
        default: return false;
        }
    }
    if (a.kind == CVAL::INT && b.kind == CVAL::INT) return eval_int_binary(op, a, b, out);
    if (op != BO_Add && op != BO_Sub) return false;
    if (a.kind == CVAL::ADDR && b.kind == CVAL::ADDR) {
        if (op == BO_Add || a.decl != b.decl || a.literal != b.literal || !a.type->is_ptr()) return false;
        TYPE* elem = a.type->type_pointed_to();
        int64_t step = elem->is_void() || elem->is_func() || elem->size_bits == 0 ? 1 : units(elem);
        out = make_int((a.units - b.units) / step, tp->int_type());
        return true;
    }
    if (b.kind == CVAL::ADDR && op == BO_Sub) return false;
    const CVAL& address = a.kind == CVAL::ADDR ? a : b;
    const CVAL& index = a.kind == CVAL::ADDR ? b : a;
    if (address.kind != CVAL::ADDR || index.kind != CVAL::INT) return false;
    out = address;
    TYPE* elem = address.type->is_ptr() ? address.type->type_pointed_to() : tp->char_type();
    return add_units(out, index.i, elem, op == BO_Sub);
}

bool MODEL::eval_call(const CallExpr* e, CVAL& out) {
    const FunctionDecl* f = e->getDirectCallee();
    if (f == nullptr) return false;
    TYPE* t = type_of_expr(e);
    switch (f->getBuiltinID()) {
    case Builtin::BI__builtin_inf:
    case Builtin::BI__builtin_inff:
    case Builtin::BI__builtin_infl:
    case Builtin::BI__builtin_huge_val:
    case Builtin::BI__builtin_huge_valf:
    case Builtin::BI__builtin_huge_vall:
        out.kind = CVAL::FLT;
        out.type = t;
        out.f = APFloat::getInf(semantics(t));
        return true;
    case Builtin::BI__builtin_nan:
    case Builtin::BI__builtin_nanf:
    case Builtin::BI__builtin_nanl:
        out.kind = CVAL::FLT;
        out.type = t;
        out.f = APFloat::getQNaN(semantics(t));
        return true;
    case Builtin::BI__builtin_expect: return eval(e->getArg(0), out);
    case Builtin::BI__builtin_constant_p: {
        CVAL v;
        out = make_int(eval(e->getArg(0), v) ? 1 : 0, tp->int_type());
        return true;
    }
    default: return false;
    }
}

bool MODEL::eval(const Expr* e, CVAL& out) {
    e = e->IgnoreParens();
    out = CVAL();
    switch (e->getStmtClass()) {
    case Stmt::IntegerLiteralClass:
        out.kind = CVAL::INT;
        out.type = type_of_expr(e);
        out.i = APSInt(cast<IntegerLiteral>(e)->getValue().zextOrTrunc(out.type->size_bits), !out.type->is_signed());
        return true;
    case Stmt::CharacterLiteralClass:
        out = make_int(character(cast<CharacterLiteral>(e)), type_of_expr(e));
        return true;
    case Stmt::FloatingLiteralClass:
        out.kind = CVAL::FLT;
        out.type = type_of_expr(e);
        out.f = round_to(cast<FloatingLiteral>(e)->getValue(), out.type);
        return true;
    case Stmt::ConstantExprClass: return eval(cast<ConstantExpr>(e)->getSubExpr(), out);
    case Stmt::DeclRefExprClass:
        if (const auto* c = dyn_cast<EnumConstantDecl>(cast<DeclRefExpr>(e)->getDecl())) {
            out = make_int(enumerator(c).getExtValue(), value_type(type_of_expr(e)));
            return true;
        }
        return false;
    case Stmt::ImplicitCastExprClass:
    case Stmt::CStyleCastExprClass: return eval_cast(cast<CastExpr>(e), out);
    case Stmt::UnaryOperatorClass: return eval_unary(cast<UnaryOperator>(e), out);
    case Stmt::BinaryOperatorClass: return eval_binary(cast<BinaryOperator>(e), out);
    case Stmt::ConditionalOperatorClass: {
        const auto* c = cast<ConditionalOperator>(e);
        CVAL test;
        return eval(c->getCond(), test) && eval(test.is_zero() ? c->getFalseExpr() : c->getTrueExpr(), out);
    }
    case Stmt::UnaryExprOrTypeTraitExprClass: return eval_sizeof(cast<UnaryExprOrTypeTraitExpr>(e), out);
    case Stmt::OffsetOfExprClass: return eval_offsetof(cast<OffsetOfExpr>(e), out);
    case Stmt::CallExprClass: return eval_call(cast<CallExpr>(e), out);
    case Stmt::GenericSelectionExprClass: return eval(cast<GenericSelectionExpr>(e)->getResultExpr(), out);
    case Stmt::ChooseExprClass: return eval(cast<ChooseExpr>(e)->getChosenSubExpr(), out);
    case Stmt::TypeTraitExprClass:
        out = make_int(cast<TypeTraitExpr>(e)->getValue() ? 1 : 0, type_of_expr(e));
        return true;
    case Stmt::ImplicitValueInitExprClass: {
        TYPE* t = value_type(type_of_expr(e));
        if (!t->is_integral() && !t->is_fltpt() && !t->is_ptr()) return false;
        out = make_int(0, tp->int_type());
        return convert(out, t);
    }
    case Stmt::InitListExprClass: { // { 5 } for a scalar
        const auto* list = cast<InitListExpr>(e);
        return list->getNumInits() == 1 && list->getType()->isScalarType() && eval(list->getInit(0), out);
    }
    default: return false;
    }
}
