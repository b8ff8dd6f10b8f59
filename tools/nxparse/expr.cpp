// Expressions: constants, names, places, conversions.
#include "front.h"

using namespace clang;

// ------------------------------------------------------------------------------------------------------ constants

static INT65 to_int65(const llvm::APSInt& v) {
    llvm::APInt wide = v.isSigned() ? v.sextOrTrunc(65) : v.zextOrTrunc(65);
    INT65 r(static_cast<unsigned long long>(wide.trunc(64).getZExtValue()));
    r.sign = wide.isNegative() ? -1 : 0;
    return r;
}

static std::string float_text(const llvm::APFloat& f) {
    if (f.isNaN()) return "NaN";
    if (f.isInfinity()) return f.isNegative() ? "-Inf" : "Inf";
    char text[64];
    f.convertToHexString(text, 0, false, llvm::APFloat::rmNearestTiesToEven);
    return text;
}

NODE* FRONT::constant(const CVAL& v) {
    switch (v.kind) {
    case CVAL::INT: return icon(to_int65(v.i), m.value_type(v.type));
    case CVAL::FLT: return fcon(float_text(v.f), m.value_type(v.type));
    default: break;
    }
    // An address without an object.
    return node1(PCONV, v.type->stqs(), icon(INT65(int32_t(uint32_t(v.units))), tp->int_type()));
}

// True for a literal under arithmetic casts, signs and parentheses: written as one constant of its final type.
bool FRONT::literal_constant(const Expr* e, CVAL& v) {
    const Expr* at = e;
    for (;;) {
        at = at->IgnoreParens();
        if (const auto* c = dyn_cast<CastExpr>(at)) {
            switch (c->getCastKind()) {
            case CK_IntegralCast:
            case CK_IntegralToBoolean:
            case CK_IntegralToFloating:
            case CK_FloatingToIntegral:
            case CK_FloatingToBoolean:
            case CK_FloatingCast:
            case CK_NullToPointer:
            case CK_IntegralToPointer:
            case CK_BitCast:
            case CK_NoOp: at = c->getSubExpr(); continue;
            default: return false;
            }
        }
        if (const auto* u = dyn_cast<UnaryOperator>(at)) {
            if (u->getOpcode() != UO_Minus && u->getOpcode() != UO_Plus && u->getOpcode() != UO_Extension) return false;
            at = u->getSubExpr();
            continue;
        }
        if (const auto* c = dyn_cast<ConstantExpr>(at)) {
            at = c->getSubExpr();
            continue;
        }
        break;
    }
    bool literal = isa<IntegerLiteral>(at) || isa<CharacterLiteral>(at) || isa<FloatingLiteral>(at) ||
                   isa<UnaryExprOrTypeTraitExpr>(at) || isa<OffsetOfExpr>(at) || isa<ImplicitValueInitExpr>(at) ||
                   isa<TypeTraitExpr>(at);
    if (const auto* ref = dyn_cast<DeclRefExpr>(at)) literal = isa<EnumConstantDecl>(ref->getDecl());
    return literal && m.eval(e, v) && (v.kind != CVAL::ADDR || (v.decl == nullptr && v.literal == nullptr));
}

// ---------------------------------------------------------------------------------------------------- conversions

NODE* FRONT::truth(NODE* n) {
    TYPE* t = n->type->stqs();
    if (t->is_fltpt()) return node2(NEQ, tp->int_type(), n, fcon("0", t));
    if (t->is_integral() && t->size_bits > 32) return node2(NEQ, tp->int_type(), n, icon(INT65(0), t));
    return n;
}

NODE* FRONT::convert(NODE* n, TYPE* to) {
    TYPE* from = m.value_type(n->type);
    to = m.value_type(to);
    if (from == to || to->is_csu() || to->is_void()) return n;
    if (to->is_ptr()) return node1(PCONV, to, n);
    if (n->op == ICON && to->is_integral() && !to->is_bool()) {
        INT65 v = n->u.lval;
        erase_tree(n);
        return icon(v, to);
    }
    if (to->is_bool()) {
        if (n->op == ICON) {
            INT65 v(n->u.lval.is_zero() ? 0 : 1);
            erase_tree(n);
            return icon(v, to);
        }
        if (boolean_result[n->op] != 1) {
            if (from->is_ptr())
                n = node2(NEQ, tp->int_type(), n, node1(PCONV, from, icon(0)));
            else if (from->is_fltpt())
                n = node2(NEQ, tp->int_type(), n, fcon("0", from));
            else
                n = node2(NEQ, tp->int_type(), n, icon(INT65(0), from));
        }
        return node1(SCONV, to, n);
    }
    return node1(SCONV, to, n);
}

NODE* FRONT::address(NODE* lv, TYPE* pointer) {
    pointer = pointer->stqs();
    if (lv->op == UMULT) { // &*p
        NODE* p = lv->left;
        lv->left = nullptr;
        erase_tree(lv);
        return convert(p, pointer);
    }
    return node1(UAND, pointer, lv);
}

// A narrow string whose characters an SCON can hold: those up to 255.
bool FRONT::is_byte_text(const StringLiteral* s, std::string& bytes) {
    if (s->getCharByteWidth() != 1) return false;
    for (uint32_t unit : m.code_units(s)) {
        if (unit > 255) return false;
        bytes.push_back(char(unit));
    }
    return true;
}

NODE* FRONT::string_address(const StringLiteral* s, TYPE* pointer) {
    std::string bytes;
    if (!is_byte_text(s, bytes)) {
        SYMTAB* sym = wide_string(s);
        return convert(node1(UAND, m.decayed(sym->type), name_of(sym, sym->type)), pointer);
    }
    bytes.push_back(0);
    return convert(scon(bytes, m.pointer_to(tp->char_type())), pointer);
}

// An array or function in value position.
NODE* FRONT::decay(const Expr* e) {
    const Expr* x = e->IgnoreParens();
    TYPE* t = m.type_of_expr(x);
    TYPE* pointer = t->is_func() ? m.pointer_to(t) : m.decayed(t);
    if (const auto* p = dyn_cast<PredefinedExpr>(x)) x = p->getFunctionName();
    if (const auto* s = dyn_cast<StringLiteral>(x)) return string_address(s, pointer);
    PLACE p = lvalue(x);
    return sequence(p.pre, address(p.node, pointer));
}

NODE* FRONT::conversion(const CastExpr* e) {
    const Expr* sub = e->getSubExpr();
    switch (e->getCastKind()) {
    case CK_LValueToRValue: {
        PLACE p = lvalue(sub);
        return sequence(p.pre, p.node);
    }
    case CK_ArrayToPointerDecay:
    case CK_FunctionToPointerDecay: return decay(sub);
    case CK_NullToPointer: return node1(PCONV, m.type_of_expr(e)->stqs(), icon(0));
    case CK_IntegralCast:
    case CK_IntegralToFloating:
        if (sub->getType()->isEnumeralType()) // its values have the sign that Clang gives them
            return convert(convert(value(sub), m.enum_value_type(sub->getType(), sub->getExprLoc())),
                           m.type_of_expr(e));
        return convert(value(sub), m.type_of_expr(e));
    case CK_NoOp:
    case CK_BitCast:
    case CK_IntegralToPointer:
    case CK_PointerToIntegral:
    case CK_PointerToBoolean:
    case CK_IntegralToBoolean:
    case CK_FloatingToIntegral:
    case CK_FloatingToBoolean:
    case CK_FloatingCast: return convert(value(sub), m.type_of_expr(e));
    case CK_BuiltinFnToFnPtr: return callee(e);
    default: m.refuse(e->getExprLoc(), llvm::Twine("conversion '") + e->getCastKindName() + "' is not supported");
    }
}

// --------------------------------------------------------------------------------------------------------- places

PLACE FRONT::member_place(const MemberExpr* e) {
    const auto* f = dyn_cast<FieldDecl>(e->getMemberDecl());
    if (f == nullptr) m.refuse(e->getExprLoc(), "this member is not supported");
    const MEMBER& member = m.member(f);
    TYPE* record = m.record_type(f->getParent());
    NODE* field = field_of(member.mdata, record);
    PLACE p;
    uint32_t quals = 0;
    if (e->isArrow()) {
        NODE* base = value(e->getBase());
        if (base->type->is_ptr()) quals = base->type->type_pointed_to()->qual_kind();
        p.node = node2(STREF, nullptr, base, field);
    } else {
        p = struct_place(e->getBase());
        quals = p.node->type->qual_kind();
        p.node = node2(STDOT, nullptr, p.node, field);
    }
    TYPE* t = member.type;
    if (!t->is_array())
        t = (quals & 3) != 0 ? tp->mk_qual(t, quals & 3) : t;
    else
        t = m.type_of_expr(e);
    p.node->type = m.lvalue_type(t);
    p.node->orig_type = p.node->type;
    return p;
}

PLACE FRONT::literal_place(const CompoundLiteralExpr* e) {
    TYPE* t = m.type_of_expr(e);
    PLACE p;
    if (e->isFileScope()) {
        SYMTAB*& sym = literals[e];
        if (sym == nullptr) {
            sym = hidden_static("__literal", t, e->getBeginLoc());
            static_initialiser(sym, t, e->getInitializer());
        }
        p.node = name_of(sym, m.lvalue_type(t));
        return p;
    }
    SYMTAB* sym = out.local("__literal" + std::to_string(temp_count++), t, SC_AUTO, position(e->getBeginLoc()), 0);
    block().locals.push_back(sym);
    std::vector<NODE*> trees;
    auto_initialiser(sym, t, e->getInitializer(), trees);
    for (NODE* tree : trees) p.pre = sequence(p.pre, tree);
    p.node = name_of(sym, m.lvalue_type(t));
    return p;
}

PLACE FRONT::va_arg_place(const VAArgExpr* e) {
    TYPE* t = m.type_of(e->getWrittenTypeInfo());
    uint32_t step = (m.size_of(t, e->getExprLoc()) + 1) / 2 * 2;
    if (t->is_array()) m.refuse(e->getExprLoc(), "va_arg of an array is not supported");
    PLACE ap = lvalue(e->getSubExpr()->IgnoreParenImpCasts());
    TYPE* area = ap.node->type->stqs();
    NODE* old = node2(MINUS, area, node2(PLUSASG, area, ap.node, icon(step)), icon(step));
    PLACE p;
    p.pre = ap.pre;
    p.node = node1(UMULT, m.lvalue_type(t), convert(old, m.pointer_to(t)));
    return p;
}

PLACE FRONT::lvalue(const Expr* e) {
    e = e->IgnoreParens();
    PLACE p;
    switch (e->getStmtClass()) {
    case Stmt::DeclRefExprClass: {
        const ValueDecl* d = cast<DeclRefExpr>(e)->getDecl();
        SYMTAB* sym = symbol_of(d);
        TYPE* t = m.type_of_decl(d);
        if (t->is_array() && sym->type->is_array()) t = sym->type;
        p.node = name_of(sym, m.lvalue_type(t));
        return p;
    }
    case Stmt::MemberExprClass: return member_place(cast<MemberExpr>(e));
    case Stmt::CompoundLiteralExprClass: return literal_place(cast<CompoundLiteralExpr>(e));
    case Stmt::ArraySubscriptExprClass: {
        const auto* a = cast<ArraySubscriptExpr>(e);
        NODE* base = value(a->getBase());
        NODE* at = offset_pointer(base, value(a->getIdx()), false, a->getExprLoc());
        p.node = node1(UMULT, m.lvalue_type(at->type->type_pointed_to()), at);
        return p;
    }
    case Stmt::UnaryOperatorClass: {
        const auto* u = cast<UnaryOperator>(e);
        if (u->getOpcode() == UO_Extension) return lvalue(u->getSubExpr());
        if (u->getOpcode() != UO_Deref) break;
        NODE* at = value(u->getSubExpr());
        TYPE* object = at->type->type_pointed_to();
        if (object->is_void()) m.refuse(e->getExprLoc(), "a void object has no value");
        p.node = node1(UMULT, m.lvalue_type(object), at);
        return p;
    }
    case Stmt::VAArgExprClass: return va_arg_place(cast<VAArgExpr>(e));
    case Stmt::GenericSelectionExprClass: return lvalue(cast<GenericSelectionExpr>(e)->getResultExpr());
    case Stmt::ChooseExprClass: return lvalue(cast<ChooseExpr>(e)->getChosenSubExpr());
    case Stmt::StringLiteralClass:
    case Stmt::PredefinedExprClass: {
        TYPE* t = m.type_of_expr(e);
        const Expr* s = e;
        if (const auto* f = dyn_cast<PredefinedExpr>(e)) s = f->getFunctionName();
        p.node = node1(UMULT, t, string_address(cast<StringLiteral>(s), m.pointer_to(t)));
        return p;
    }
    case Stmt::ImplicitCastExprClass:
    case Stmt::CStyleCastExprClass:
        if (cast<CastExpr>(e)->getCastKind() == CK_NoOp) return lvalue(cast<CastExpr>(e)->getSubExpr());
        break;
    case Stmt::OpaqueValueExprClass: {
        auto found = opaque.find(cast<OpaqueValueExpr>(e));
        if (found == opaque.end()) break;
        p.node = name_of(found->second, found->second->type);
        return p;
    }
    default: break;
    }
    if (e->getType()->isRecordType()) return struct_place(e);
    m.refuse(e->getExprLoc(),
             llvm::Twine("this expression is not supported as an object (") + e->getStmtClassName() + ")");
}

SYMTAB* FRONT::temporary(TYPE* t) {
    SYMTAB* sym = out.local("__t" + std::to_string(temp_count++), m.value_type(t), SC_AUTO, nullptr, 0);
    block().locals.push_back(sym);
    return sym;
}

PLACE FRONT::struct_place(const Expr* e) {
    PLACE p = e->IgnoreParens()->isLValue() ? lvalue(e) : struct_value(e);
    switch (p.node->op) {
    case CALL:
    case UCALL:
    case STASG: {
        TYPE* t = p.node->type->stqs();
        SYMTAB* temp = temporary(t);
        p.pre = sequence(p.pre, node2(STASG, t, name_of(temp, t), p.node));
        p.node = name_of(temp, t);
        break;
    }
    default: break;
    }
    return p;
}

PLACE FRONT::struct_value(const Expr* e) {
    e = e->IgnoreParens();
    if (e->isLValue()) return lvalue(e);
    PLACE p;
    switch (e->getStmtClass()) {
    case Stmt::ImplicitCastExprClass:
    case Stmt::CStyleCastExprClass: {
        const auto* c = cast<CastExpr>(e);
        if (c->getCastKind() == CK_LValueToRValue) return lvalue(c->getSubExpr());
        if (c->getCastKind() == CK_NoOp) return struct_value(c->getSubExpr());
        break;
    }
    case Stmt::CallExprClass: return call(cast<CallExpr>(e));
    case Stmt::MemberExprClass: return member_place(cast<MemberExpr>(e));
    case Stmt::VAArgExprClass: return va_arg_place(cast<VAArgExpr>(e));
    case Stmt::GenericSelectionExprClass: return struct_value(cast<GenericSelectionExpr>(e)->getResultExpr());
    case Stmt::ChooseExprClass: return struct_value(cast<ChooseExpr>(e)->getChosenSubExpr());
    case Stmt::UnaryOperatorClass:
        if (cast<UnaryOperator>(e)->getOpcode() == UO_Extension)
            return struct_value(cast<UnaryOperator>(e)->getSubExpr());
        break;
    case Stmt::BinaryOperatorClass: {
        const auto* b = cast<BinaryOperator>(e);
        if (b->getOpcode() == BO_Comma) {
            NODE* first = effect_tree(b->getLHS());
            p = struct_value(b->getRHS());
            p.pre = sequence(first, p.pre);
            return p;
        }
        if (b->getOpcode() == BO_Assign) {
            PLACE to = lvalue(b->getLHS());
            PLACE from = struct_value(b->getRHS());
            p.pre = sequence(to.pre, from.pre);
            p.node = node2(STASG, to.node->type->stqs(), to.node, from.node);
            return p;
        }
        break;
    }
    case Stmt::ConditionalOperatorClass: {
        const auto* c = cast<ConditionalOperator>(e);
        TYPE* t = m.type_of_expr(e)->stqs();
        TYPE* pointer = m.pointer_to(t);
        NODE* test = condition(c->getCond());
        PLACE a = struct_place(c->getTrueExpr());
        PLACE b = struct_place(c->getFalseExpr());
        NODE* arms =
            node2(COLON, pointer, sequence(a.pre, address(a.node, pointer)), sequence(b.pre, address(b.node, pointer)));
        p.node = node1(UMULT, t, node2(QUEST, pointer, test, arms));
        return p;
    }
    default: break;
    }
    m.refuse(e->getExprLoc(), llvm::Twine("this struct value is not supported (") + e->getStmtClassName() + ")");
}

// --------------------------------------------------------------------------------------------------------- values

NODE* FRONT::condition(const Expr* e) { return truth(value(e)); }

NODE* FRONT::conditional(const AbstractConditionalOperator* e) {
    TYPE* t = m.value_type(m.type_of_expr(e));
    NODE* test = nullptr;
    if (const auto* shared = dyn_cast<BinaryConditionalOperator>(e)) { // a ?: b
        NODE* common = value(shared->getCommon());
        SYMTAB* temp = temporary(common->type);
        opaque[shared->getOpaqueValue()] = temp;
        NODE* store = node2(ASG, temp->type, name_of(temp, temp->type), common);
        test = node2(COMMAOP, tp->int_type(), store, truth(name_of(temp, temp->type)));
        test->type = test->right->type;
        test->orig_type = test->type;
    } else {
        test = condition(e->getCond());
    }
    NODE* arms = nullptr;
    if (t->is_void()) { // both arms for their effect
        NODE* a = sequence(effect_tree(e->getTrueExpr()), icon(0));
        NODE* b = sequence(effect_tree(e->getFalseExpr()), icon(0));
        t = tp->int_type();
        arms = node2(COLON, t, a, b);
    } else {
        NODE* a = convert(value(e->getTrueExpr()), t);
        NODE* b = convert(value(e->getFalseExpr()), t);
        arms = node2(COLON, t, a, b);
    }
    return node2(QUEST, t, test, arms);
}

NODE* FRONT::effect_tree(const Expr* e) {
    e = e->IgnoreParens();
    if (const auto* c = dyn_cast<CastExpr>(e)) {
        if (c->getCastKind() == CK_ToVoid) return effect_tree(c->getSubExpr());
        if (c->getCastKind() == CK_LValueToRValue && !c->getSubExpr()->getType().isVolatileQualified() &&
            !e->HasSideEffects(ctx))
            return nullptr;
    }
    if (!e->HasSideEffects(ctx)) return nullptr;
    if (const auto* b = dyn_cast<BinaryOperator>(e))
        if (b->getOpcode() == BO_Comma) {
            NODE* first = effect_tree(b->getLHS());
            return sequence(first, effect_tree(b->getRHS()));
        }
    if (const auto* u = dyn_cast<UnaryOperator>(e)) {
        if (u->isIncrementDecrementOp()) return increment(u, false);
        if (u->getOpcode() == UO_Extension) return effect_tree(u->getSubExpr());
    }
    if (e->getType()->isVoidType()) {
        if (const auto* c = dyn_cast<CallExpr>(e)) {
            PLACE p = call(c);
            return sequence(p.pre, p.node);
        }
        if (const auto* c = dyn_cast<AbstractConditionalOperator>(e)) return conditional(c);
        if (const auto* g = dyn_cast<GenericSelectionExpr>(e)) return effect_tree(g->getResultExpr());
        if (const auto* g = dyn_cast<ChooseExpr>(e)) return effect_tree(g->getChosenSubExpr());
        if (e->isLValue()) return nullptr;
        m.refuse(e->getExprLoc(), llvm::Twine("this expression is not supported (") + e->getStmtClassName() + ")");
    }
    if (e->getType()->isRecordType()) {
        PLACE p = struct_value(e);
        bool acts = p.node->op == CALL || p.node->op == UCALL || p.node->op == STASG ||
                    (p.node->type->qual_kind() & QUAL_VOLATILE);
        if (acts || p.pre == nullptr) return sequence(p.pre, p.node);
        erase_tree(p.node);
        return p.pre;
    }
    if (e->isLValue()) {
        PLACE p = lvalue(e);
        if (p.node->op == NAME) {
            erase_tree(p.node);
            return p.pre;
        }
        return sequence(p.pre, address(p.node, m.pointer_to(p.node->type)));
    }
    return value(e);
}

NODE* FRONT::value(const Expr* e) {
    e = e->IgnoreParens();
    CVAL v;
    if (literal_constant(e, v)) return constant(v);
    switch (e->getStmtClass()) {
    case Stmt::ImplicitCastExprClass:
    case Stmt::CStyleCastExprClass: return conversion(cast<CastExpr>(e));
    case Stmt::UnaryOperatorClass: return unary(cast<UnaryOperator>(e));
    case Stmt::BinaryOperatorClass: return binary(cast<BinaryOperator>(e));
    case Stmt::CompoundAssignOperatorClass: return compound_assignment(cast<CompoundAssignOperator>(e));
    case Stmt::ConditionalOperatorClass:
    case Stmt::BinaryConditionalOperatorClass: return conditional(cast<AbstractConditionalOperator>(e));
    case Stmt::CallExprClass: {
        PLACE p = call(cast<CallExpr>(e));
        if (p.node == nullptr) m.refuse(e->getExprLoc(), "this call has no value");
        return sequence(p.pre, p.node);
    }
    case Stmt::VAArgExprClass: {
        PLACE p = va_arg_place(cast<VAArgExpr>(e));
        return sequence(p.pre, p.node);
    }
    case Stmt::MemberExprClass: { // of a struct that is no object
        PLACE p = member_place(cast<MemberExpr>(e));
        return sequence(p.pre, p.node);
    }
    case Stmt::ConstantExprClass: return value(cast<ConstantExpr>(e)->getSubExpr());
    case Stmt::GenericSelectionExprClass: return value(cast<GenericSelectionExpr>(e)->getResultExpr());
    case Stmt::ChooseExprClass: return value(cast<ChooseExpr>(e)->getChosenSubExpr());
    case Stmt::OpaqueValueExprClass: {
        auto found = opaque.find(cast<OpaqueValueExpr>(e));
        if (found == opaque.end()) break;
        return name_of(found->second, found->second->type);
    }
    case Stmt::InitListExprClass: {
        const auto* list = cast<InitListExpr>(e);
        if (list->getNumInits() == 1 && list->getType()->isScalarType()) return value(list->getInit(0));
        break;
    }
    case Stmt::StmtExprClass: m.refuse(e->getExprLoc(), "statement expressions are not supported");
    case Stmt::AddrLabelExprClass: m.refuse(e->getExprLoc(), "the address of a label is not supported");
    case Stmt::ImaginaryLiteralClass: m.refuse(e->getExprLoc(), "complex types are not supported");
    default: break;
    }
    // What the syntax tree leaves to be known as a value: sizeof and the like were taken above.
    if (m.eval(e, v) && (v.kind != CVAL::ADDR || (v.decl == nullptr && v.literal == nullptr))) return constant(v);
    m.refuse(e->getExprLoc(), llvm::Twine("this expression is not supported (") + e->getStmtClassName() + ")");
}
