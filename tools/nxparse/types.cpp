// C types to TYPE records.
//
// Clang keeps the bound of an array in the type only as the number it computed, so declared types are read from the
// declarator (TypeLoc), where the expression stands, and the types of expressions that mention arrays are derived from
// their operands. Everything else comes from Clang's type.
#include "model.h"

using namespace clang;

bool CVAL::is_zero() const {
    switch (kind) {
    case INT: return i == 0;
    case FLT: return f.isZero();
    case ADDR: return decl == nullptr && literal == nullptr && units == 0;
    case NONE: break;
    }
    return false;
}

MODEL::MODEL(ASTContext& context) : ctx(context) {
    DiagnosticsEngine& diags = ctx.getDiagnostics();
    refuse_id_ = diags.getCustomDiagID(DiagnosticsEngine::Error, "%0");
    warn_id_ = diags.getCustomDiagID(DiagnosticsEngine::Warning, "%0");
    // The package's basic types become those of this machine.
    for (unsigned k = TYPE::I_BOOL; k <= TYPE::I_ULLONG; ++k) {
        if (k == TYPE::I_WCHAR_T) continue;
        uint32_t size = k >= TYPE::I_LLONG ? 64 : k >= TYPE::I_INT ? 32 : 16;
        tp->adopt_basic_type(tp->mk_int(TYPE::IKIND(k), false, size, size, k == TYPE::I_BOOL));
    }
    tp->adopt_basic_type(tp->mk_fltpt(TYPE::F_FLOAT, 32, 32));
    tp->adopt_basic_type(tp->mk_fltpt(TYPE::F_DOUBLE, 64, 64));
    tp->adopt_basic_type(tp->mk_fltpt(TYPE::F_LDOUBLE, 64, 64));
    tp->adopt_basic_type(tp->mk_ptr(tp->mk_void(), 32, 32));
    tp->basic_types_changed();
}

void MODEL::refuse(SourceLocation where, const llvm::Twine& what) {
    ctx.getDiagnostics().Report(ctx.getSourceManager().getExpansionLoc(where), refuse_id_) << what.str();
    throw REFUSED{};
}

void MODEL::warn(SourceLocation where, const llvm::Twine& what) {
    ctx.getDiagnostics().Report(ctx.getSourceManager().getExpansionLoc(where), warn_id_) << what.str();
}

TYPE* MODEL::builtin_type(const BuiltinType* t, SourceLocation where) {
    switch (t->getKind()) {
    case BuiltinType::Void: return tp->mk_void();
    case BuiltinType::Bool: return tp->bool_type();
    case BuiltinType::Char_S:
    case BuiltinType::Char_U: return tp->char_type();
    case BuiltinType::SChar: return tp->mk_int(TYPE::I_CHAR, true, 16, 16);
    case BuiltinType::UChar: return tp->uchar_type();
    case BuiltinType::Short: return tp->short_type();
    case BuiltinType::UShort: return tp->ushort_type();
    case BuiltinType::Int: return tp->int_type();
    case BuiltinType::UInt: return tp->uint_type();
    case BuiltinType::Long: return tp->long_type();
    case BuiltinType::ULong: return tp->ulong_type();
    case BuiltinType::LongLong: return tp->llong_type();
    case BuiltinType::ULongLong: return tp->ullong_type();
    case BuiltinType::Float: return tp->float_type();
    case BuiltinType::Double: return tp->double_type();
    case BuiltinType::LongDouble: return tp->ldouble_type();
    default: refuse(where, "type '" + t->getName(ctx.getPrintingPolicy()) + "' is not supported");
    }
}

TYPE* MODEL::qualified(TYPE* t, Qualifiers q, SourceLocation where) {
    if (q.hasAddressSpace()) refuse(where, "address spaces are not supported");
    uint32_t bits = 0;
    if (q.hasConst()) bits |= QUAL_CONST;
    if (q.hasVolatile()) bits |= QUAL_VOLATILE;
    if (q.hasRestrict()) bits |= QUAL_RESTRICT;
    if (bits == 0 || t->is_func()) return t;
    if (t->is_array()) { // the qualifiers of an array are those of its elements
        TYPE* elem = qualified(t->elem_type(), q, where);
        if (!t->descriptor->array->complete) return tp->mk_array(elem, 0, 0, elem->align_bits, false, false);
        return array_of(elem, t->elem_count(), where);
    }
    return tp->mk_qual(t, bits);
}

TYPE* MODEL::array_of(TYPE* elem, uint64_t count, SourceLocation where) {
    uint64_t size = 0;
    if (__builtin_mul_overflow(count, uint64_t{elem->size_bits}, &size) || size > 0xFFFFFFF0u)
        refuse(where, "array is too large");
    return tp->mk_array(elem, uint32_t(count), uint32_t(size), elem->align_bits, false, true);
}

TYPE* MODEL::function_type(TYPE* ret, const std::vector<TYPE*>& params, bool variadic, bool proto) {
    TYPE* f = tp->mk_func(unqual(ret), false, variadic, proto, 0);
    for (TYPE* p : params) {
        fkPARAM record;
        record.type = unqual(p);
        tp->add_param(f, record);
    }
    return tp->type_frozen(f);
}

std::string MODEL::unique_tag(const std::string& tag) {
    if (tag.empty()) return make_fake_name();
    unsigned n = tags_[tag]++;
    return n == 0 ? tag : tag + "$" + std::to_string(n);
}

TYPE* MODEL::enum_type(const EnumDecl* any) {
    const EnumDecl* e = any->getDefinition() != nullptr ? any->getDefinition() : any->getCanonicalDecl();
    auto found = enums_.find(e);
    if (found != enums_.end()) return found->second;
    if (!e->isCompleteDefinition()) refuse(any->getLocation(), "enum without a definition is not supported");
    collect_enumerators(e);
    TYPE* wide = type_of(e->getIntegerType(), e->getLocation());
    bool needs_unsigned = false;
    for (const EnumConstantDecl* c : e->enumerators())
        needs_unsigned = needs_unsigned || enumerator(c).getExtValue() > INT32_MAX;
    TYPE* under = wide->size_bits > 32 ? wide : needs_unsigned ? tp->uint_type() : tp->int_type();
    TYPE* t = tp->mk_enum(unique_tag(e->getName().str()).c_str(), under, under->size_bits, under->align_bits, false);
    for (const EnumConstantDecl* c : e->enumerators()) {
        fkETOR record;
        record.name = c->getName().str();
        record.value = truncate_to_type(INT65(static_cast<long long>(enumerator(c).getExtValue())), under);
        tp->add_etor(t, record);
    }
    t = tp->type_frozen(t);
    enums_[e] = t;
    return t;
}

TYPE* MODEL::enum_value_type(QualType q, SourceLocation where) {
    if (const auto* e = q->getAs<EnumType>()) {
        const EnumDecl* d = e->getDecl()->getDefinition();
        if (d != nullptr) return type_of(d->getIntegerType(), where);
    }
    return type_of(q.getUnqualifiedType(), where);
}

TYPE* MODEL::typedef_type(const TypedefNameDecl* d, SourceLocation where) {
    auto found = decl_types_.find(d);
    if (found != decl_types_.end()) return found->second;
    if (d->hasAttr<AlignedAttr>()) refuse(d->getLocation(), "attribute 'aligned' on a type is not supported");
    TYPE* t =
        d->getTypeSourceInfo() != nullptr ? type_of(d->getTypeSourceInfo()) : type_of(d->getUnderlyingType(), where);
    decl_types_[d] = t;
    return t;
}

TYPE* MODEL::type_of(QualType q, SourceLocation where) {
    auto found = plain_types_.find(q.getAsOpaquePtr());
    if (found != plain_types_.end()) return found->second;
    TYPE* r = nullptr;
    if (q.hasLocalQualifiers()) {
        r = qualified(type_of(q.getLocalUnqualifiedType(), where), q.getLocalQualifiers(), where);
        plain_types_[q.getAsOpaquePtr()] = r;
        return r;
    }
    const Type* t = q.getTypePtr();
    switch (t->getTypeClass()) {
    case Type::Builtin: r = builtin_type(cast<BuiltinType>(t), where); break;
    case Type::Pointer: r = pointer_to(type_of(cast<PointerType>(t)->getPointeeType(), where)); break;
    case Type::Decayed:
    case Type::Adjusted: r = type_of(cast<AdjustedType>(t)->getAdjustedType(), where); break;
    case Type::ConstantArray: {
        uint64_t n = cast<ConstantArrayType>(t)->getSize().getZExtValue();
        if (llvm::is_contained(odd_bounds_, n))
            refuse(where, "the bound of this array depends on the width of char in a way that is not supported here");
        r = array_of(type_of(cast<ArrayType>(t)->getElementType(), where), n, where);
        break;
    }
    case Type::IncompleteArray: {
        TYPE* elem = type_of(cast<ArrayType>(t)->getElementType(), where);
        r = tp->mk_array(elem, 0, 0, elem->align_bits, false, false);
        break;
    }
    case Type::VariableArray: refuse(where, "variable length arrays are not supported");
    case Type::Complex: refuse(where, "complex types are not supported");
    case Type::Vector:
    case Type::ExtVector: refuse(where, "vector types are not supported");
    case Type::Atomic: refuse(where, "atomic types are not supported");
    case Type::FunctionNoProto:
        r = function_type(type_of(cast<FunctionType>(t)->getReturnType(), where), {}, false, false);
        break;
    case Type::FunctionProto: {
        const auto* f = cast<FunctionProtoType>(t);
        std::vector<TYPE*> params;
        for (QualType p : f->param_types()) params.push_back(type_of(p, where));
        r = function_type(type_of(f->getReturnType(), where), params, f->isVariadic(), true);
        break;
    }
    case Type::Enum: r = enum_type(cast<EnumType>(t)->getDecl()); break;
    case Type::Record: r = record_type(cast<RecordType>(t)->getDecl()); break;
    case Type::Typedef: r = typedef_type(cast<TypedefType>(t)->getDecl(), where); break;
    case Type::TypeOfExpr: r = type_of_expr(cast<TypeOfExprType>(t)->getUnderlyingExpr()); break;
    default: {
        QualType inner = t->getLocallyUnqualifiedSingleStepDesugaredType();
        if (inner.getTypePtr() == t) refuse(where, "type '" + q.getAsString() + "' is not supported");
        r = type_of(inner, where);
        break;
    }
    }
    plain_types_[q.getAsOpaquePtr()] = r;
    return r;
}

uint64_t MODEL::array_count(ArrayTypeLoc loc) {
    const auto* known = dyn_cast<ConstantArrayType>(loc.getTypePtr());
    if (known == nullptr) refuse(loc.getBeginLoc(), "variable length arrays are not supported");
    const Expr* size = loc.getSizeExpr();
    uint64_t clang_count = known->getSize().getZExtValue();
    if (size == nullptr) return clang_count;
    llvm::APSInt n = int_constant(size, "array bound");
    if (n.isSigned() && n.isNegative()) refuse(size->getBeginLoc(), "array bound is negative");
    uint64_t count = n.getZExtValue();
    if (count != clang_count && !llvm::is_contained(odd_bounds_, clang_count)) odd_bounds_.push_back(clang_count);
    return count;
}

TYPE* MODEL::array_from_loc(ArrayTypeLoc loc) {
    TYPE* elem = type_of(loc.getElementLoc());
    if (isa<IncompleteArrayType>(loc.getTypePtr())) return tp->mk_array(elem, 0, 0, elem->align_bits, false, false);
    return array_of(elem, array_count(loc), loc.getBeginLoc());
}

TYPE* MODEL::type_of(TypeLoc loc) {
    SourceLocation where = loc.getBeginLoc();
    switch (loc.getTypeLocClass()) {
    case TypeLoc::Qualified: {
        auto q = loc.castAs<QualifiedTypeLoc>();
        return qualified(type_of(q.getUnqualifiedLoc()), q.getType().getLocalQualifiers(), where);
    }
    case TypeLoc::Pointer: return pointer_to(type_of(loc.castAs<PointerTypeLoc>().getPointeeLoc()));
    case TypeLoc::Paren: return type_of(loc.castAs<ParenTypeLoc>().getInnerLoc());
    case TypeLoc::Elaborated: return type_of(loc.castAs<ElaboratedTypeLoc>().getNamedTypeLoc());
    case TypeLoc::Attributed: return type_of(loc.castAs<AttributedTypeLoc>().getModifiedLoc());
    case TypeLoc::MacroQualified: return type_of(loc.castAs<MacroQualifiedTypeLoc>().getInnerLoc());
    case TypeLoc::Typedef: return typedef_type(loc.castAs<TypedefTypeLoc>().getTypedefNameDecl(), where);
    case TypeLoc::TypeOf: return type_of(loc.castAs<TypeOfTypeLoc>().getUnderlyingTInfo());
    case TypeLoc::ConstantArray:
    case TypeLoc::IncompleteArray:
    case TypeLoc::VariableArray: return array_from_loc(loc.castAs<ArrayTypeLoc>());
    case TypeLoc::FunctionProto:
    case TypeLoc::FunctionNoProto: {
        auto f = loc.castAs<FunctionTypeLoc>();
        TYPE* ret = type_of(f.getReturnLoc());
        const auto* proto = dyn_cast<FunctionProtoType>(f.getTypePtr());
        std::vector<TYPE*> params;
        if (proto != nullptr)
            for (unsigned i = 0; i < f.getNumParams(); ++i)
                params.push_back(f.getParam(i) != nullptr ? parameter_type(f.getParam(i))
                                                          : type_of(proto->getParamType(i), where));
        return function_type(ret, params, proto != nullptr && proto->isVariadic(), proto != nullptr);
    }
    default: return type_of(loc.getType(), where);
    }
}

TYPE* MODEL::parameter_type(const ParmVarDecl* p) {
    const TypeSourceInfo* info = p->getTypeSourceInfo();
    if (info == nullptr) return type_of(p->getType(), p->getLocation());
    TYPE* t = type_of(info);
    if (t->is_array()) return qualified(decayed(t), p->getType().getLocalQualifiers(), p->getLocation());
    if (t->is_func()) return pointer_to(t);
    return t;
}

// The type of a variable, completed by what its other declarations and its initialiser say.
TYPE* MODEL::var_type(const VarDecl* v) {
    TYPE* best = nullptr;
    for (const VarDecl* d : v->redecls()) {
        TYPE* t = d->getTypeSourceInfo() != nullptr ? type_of(d->getTypeSourceInfo())
                                                    : type_of(d->getType(), d->getLocation());
        if (t->is_array() && !t->descriptor->array->complete)
            if (const auto* known = ctx.getAsConstantArrayType(d->getType()))
                t = array_of(t->elem_type(), known->getSize().getZExtValue(), d->getLocation());
        if (best == nullptr || (best->is_array() && !best->descriptor->array->complete)) best = t;
    }
    return best;
}

TYPE* MODEL::type_of_decl(const ValueDecl* d) {
    d = cast<ValueDecl>(d->getCanonicalDecl());
    auto found = decl_types_.find(d);
    if (found != decl_types_.end()) return found->second;
    TYPE* t = nullptr;
    if (const auto* p = dyn_cast<ParmVarDecl>(d)) {
        t = parameter_type(p);
    } else if (const auto* v = dyn_cast<VarDecl>(d)) {
        t = var_type(v);
    } else if (const auto* f = dyn_cast<FunctionDecl>(d)) {
        // The definition's prototype, else any; a definition in the old style has none, whatever Clang makes of it.
        const FunctionDecl* best = f->getDefinition() != nullptr ? f->getDefinition() : f;
        for (const FunctionDecl* r : f->redecls())
            if (!best->hasWrittenPrototype() && r->hasWrittenPrototype()) best = r;
        const TypeSourceInfo* info = best->getTypeSourceInfo();
        if (best->hasWrittenPrototype() || info == nullptr) {
            t = info != nullptr ? type_of(info) : type_of(best->getType(), best->getLocation());
        } else {
            auto loc = info->getTypeLoc().getAs<FunctionTypeLoc>();
            TYPE* ret =
                loc.isNull() ? type_of(best->getReturnType(), best->getLocation()) : type_of(loc.getReturnLoc());
            t = function_type(ret, {}, false, false);
        }
    } else if (const auto* m = dyn_cast<FieldDecl>(d)) {
        t = type_of(m->getTypeSourceInfo());
    } else {
        t = type_of(d->getType(), d->getLocation());
    }
    decl_types_[d] = t;
    return t;
}

bool MODEL::mentions_array(QualType q) {
    for (;;) {
        const Type* t = q.getCanonicalType().getTypePtr();
        if (isa<ArrayType>(t)) return true;
        if (const auto* p = dyn_cast<PointerType>(t)) {
            q = p->getPointeeType();
        } else if (const auto* f = dyn_cast<FunctionType>(t)) {
            q = f->getReturnType();
            if (const auto* proto = dyn_cast<FunctionProtoType>(f))
                for (QualType p : proto->param_types())
                    if (mentions_array(p)) return true;
        } else {
            return false;
        }
    }
}

TYPE* MODEL::type_of_expr(const Expr* e) {
    e = e->IgnoreParens();
    QualType q = e->getType();
    if (!mentions_array(q)) return type_of(q, e->getExprLoc());
    auto found = expr_types_.find(e);
    if (found != expr_types_.end()) return found->second;
    TYPE* t = pointer_or_array_type(e);
    expr_types_[e] = t;
    return t;
}

// The type of an expression that is, or points to, an array.
TYPE* MODEL::pointer_or_array_type(const Expr* e) {
    SourceLocation where = e->getExprLoc();
    if (const auto* ref = dyn_cast<DeclRefExpr>(e)) return type_of_decl(ref->getDecl());
    if (const auto* s = dyn_cast<StringLiteral>(e))
        return array_of(type_of(ctx.getAsArrayType(s->getType())->getElementType(), where), s->getLength() + 1, where);
    if (const auto* p = dyn_cast<PredefinedExpr>(e)) return type_of_expr(p->getFunctionName());
    if (const auto* m = dyn_cast<MemberExpr>(e)) {
        TYPE* object = type_of_expr(m->getBase());
        if (m->isArrow()) object = object->type_pointed_to();
        Qualifiers q; // those of the object are the member's too
        if (object->qual_kind() & QUAL_CONST) q.addConst();
        if (object->qual_kind() & QUAL_VOLATILE) q.addVolatile();
        return qualified(type_of_decl(m->getMemberDecl()), q, where);
    }
    if (const auto* a = dyn_cast<ArraySubscriptExpr>(e)) return type_of_expr(a->getBase())->type_pointed_to();
    if (const auto* u = dyn_cast<UnaryOperator>(e)) {
        TYPE* t = type_of_expr(u->getSubExpr());
        if (u->getOpcode() == UO_Deref) return t->type_pointed_to();
        if (u->getOpcode() == UO_AddrOf) return pointer_to(t);
        return unqual(t);
    }
    if (const auto* c = dyn_cast<CompoundLiteralExpr>(e)) {
        TYPE* t = type_of(c->getTypeSourceInfo());
        if (t->is_array() && !t->descriptor->array->complete)
            t = array_of(t->elem_type(), ctx.getAsConstantArrayType(c->getType())->getSize().getZExtValue(), where);
        return t;
    }
    if (const auto* x = dyn_cast<ExplicitCastExpr>(e)) return unqual(type_of(x->getTypeInfoAsWritten()));
    if (const auto* x = dyn_cast<CastExpr>(e)) {
        switch (x->getCastKind()) {
        case CK_ArrayToPointerDecay: return decayed(type_of_expr(x->getSubExpr()));
        case CK_FunctionToPointerDecay: return pointer_to(type_of_expr(x->getSubExpr()));
        case CK_LValueToRValue: return unqual(type_of_expr(x->getSubExpr()));
        case CK_NoOp: return type_of_expr(x->getSubExpr());
        default: return type_of(e->getType(), where);
        }
    }
    if (const auto* call = dyn_cast<CallExpr>(e)) {
        TYPE* callee = type_of_expr(call->getCallee());
        if (callee->is_ptr() && callee->type_pointed_to()->is_func()) return callee->type_pointed_to()->return_type();
    }
    if (const auto* c = dyn_cast<ConditionalOperator>(e)) {
        TYPE* t = type_of_expr(c->getTrueExpr());
        return t->is_ptr() && t->type_pointed_to()->is_void() ? type_of_expr(c->getFalseExpr()) : t;
    }
    if (const auto* b = dyn_cast<BinaryOperator>(e)) {
        if (b->isCommaOp()) return type_of_expr(b->getRHS());
        if (b->isAssignmentOp()) return unqual(type_of_expr(b->getLHS()));
        TYPE* left = type_of_expr(b->getLHS());
        return left->is_ptr() ? left : type_of_expr(b->getRHS());
    }
    if (const auto* v = dyn_cast<VAArgExpr>(e)) return type_of(v->getWrittenTypeInfo());
    if (const auto* g = dyn_cast<GenericSelectionExpr>(e)) return type_of_expr(g->getResultExpr());
    if (const auto* c = dyn_cast<ChooseExpr>(e)) return type_of_expr(c->getChosenSubExpr());
    if (const auto* c = dyn_cast<ConstantExpr>(e)) return type_of_expr(c->getSubExpr());
    return type_of(e->getType(), where);
}

TYPE* MODEL::value_type(TYPE* t) {
    t = t->stqs();
    return t->is_enum() ? t->underlying_type() : t;
}

TYPE* MODEL::lvalue_type(TYPE* t) {
    if (!t->is_enum()) return t;
    uint32_t bits = t->qual_kind();
    TYPE* under = t->underlying_type();
    return bits != 0 ? tp->mk_qual(under, bits) : under;
}

uint32_t MODEL::size_of(TYPE* t, SourceLocation where) {
    if (t->is_void() || t->is_func()) return 1;
    if ((t->is_csu() && !t->get_csu()->csu->complete) || (t->is_array() && !t->descriptor->array->complete))
        refuse(where, "the size of an incomplete type is needed");
    return units(t);
}
