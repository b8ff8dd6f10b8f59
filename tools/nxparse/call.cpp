// Calls, and the functions that the compiler knows by name.
#include "front.h"

using namespace clang;

NODE* FRONT::callee(const Expr* e) {
    const Expr* x = e->IgnoreParens();
    if (const auto* c = dyn_cast<CastExpr>(x))
        if (c->getCastKind() == CK_BuiltinFnToFnPtr) { // a library function under its builtin name
            const auto* ref = dyn_cast<DeclRefExpr>(c->getSubExpr()->IgnoreParens());
            const auto* f = ref != nullptr ? dyn_cast<FunctionDecl>(ref->getDecl()) : nullptr;
            if (f == nullptr || !ctx.BuiltinInfo.isLibFunction(f->getBuiltinID()))
                m.refuse(e->getExprLoc(), "builtin '" + (f != nullptr ? f->getName() : "") + "' is not supported");
            std::string name = "_" + f->getName().substr(strlen("__builtin_")).str();
            SYMTAB*& sym = linked[name];
            if (sym == nullptr) sym = out.global(name, m.type_of_decl(f), SC_EXTERN_DECL, nullptr, 16);
            return node1(UAND, m.pointer_to(sym->type), name_of(sym, sym->type));
        }
    return value(e);
}

PLACE FRONT::call(const CallExpr* e) {
    PLACE result;
    if (builtin_call(e, result)) return result;
    NODE* function_pointer = callee(e->getCallee());
    TYPE* type = function_pointer->type->type_pointed_to();
    const FUNC_PART& signature = *type->descriptor->func;
    TYPE* ret = m.type_of_expr(e)->stqs();
    if (ret->is_csu()) m.size_of(ret, e->getExprLoc());
    std::vector<NODE*> args;
    for (unsigned i = 0; i < e->getNumArgs(); ++i) {
        const Expr* a = e->getArg(i);
        TYPE* parameter = i < signature.params.size() ? signature.params[i].type : nullptr;
        if (a->getType()->isRecordType()) {
            PLACE p = struct_place(a);
            result.pre = sequence(result.pre, p.pre);
            args.push_back(node1(STARG, p.node->type->stqs(), p.node));
            continue;
        }
        NODE* v = value(a);
        args.push_back(parameter != nullptr ? convert(v, parameter) : v);
    }
    TYPE* t = ret->is_csu() || ret->is_void() ? ret : m.value_type(ret);
    if (args.empty()) {
        result.node = node1(UCALL, t, function_pointer);
        result.node->mk_ucall(0);
        return result;
    }
    bool extra = signature.vararg && args.size() > signature.params.size();
    result.node = node2(CALL, t, function_pointer, chain(COMMA, args, tp->int_type()));
    result.node->mk_call(extra ? uint32_t(args.size() - signature.params.size()) : 0, 0);
    return result;
}

// What is no call in the file. True if `e` is such; the node may then be null.
bool FRONT::builtin_call(const CallExpr* e, PLACE& result) {
    const FunctionDecl* f = e->getDirectCallee();
    if (f == nullptr) return false;
    SourceLocation where = e->getExprLoc();
    bool assertion = f->getBuiltinID() == Builtin::BI__builtin_assume ||
                     (f->getName() == "_nassert" && f->getDefinition() == nullptr && e->getNumArgs() == 1);
    if (assertion) {
        if (!e->getArg(0)->HasSideEffects(ctx)) result.node = node1(NASSERT, tp->int_type(), condition(e->getArg(0)));
        return true;
    }
    CVAL v;
    switch (f->getBuiltinID()) {
    case Builtin::NotBuiltin: return false;
    case Builtin::BI__builtin_expect: result.node = value(e->getArg(0)); return true;
    case Builtin::BI__builtin_unreachable:
        result.node = node0(UMCALL, tp->mk_void());
        result.node->mk_icall("_never_executed");
        return true;
    case Builtin::BI__builtin_va_start: {
        if (va_area == nullptr) m.refuse(where, "va_start outside a variadic function");
        PLACE ap = lvalue(e->getArg(0)->IgnoreParenImpCasts());
        TYPE* t = ap.node->type->stqs();
        NODE* area = node1(UAND, m.pointer_to(va_area->type), name_of(va_area, va_area->type));
        result.pre = ap.pre;
        result.node = node2(ASG, t, ap.node, convert(area, t));
        return true;
    }
    case Builtin::BI__builtin_va_end: result.node = effect_tree(e->getArg(0)); return true;
    case Builtin::BI__builtin_va_copy: {
        PLACE to = lvalue(e->getArg(0)->IgnoreParenImpCasts());
        TYPE* t = to.node->type->stqs();
        const Expr* a = e->getArg(1)->IgnoreParens();
        PLACE from;
        if (a->isLValue())
            from = lvalue(a);
        else
            from.node = value(a);
        result.pre = sequence(to.pre, from.pre);
        result.node = node2(ASG, t, to.node, convert(from.node, t));
        return true;
    }
    case Builtin::BI__builtin_constant_p:
    case Builtin::BI__builtin_inf:
    case Builtin::BI__builtin_inff:
    case Builtin::BI__builtin_infl:
    case Builtin::BI__builtin_huge_val:
    case Builtin::BI__builtin_huge_valf:
    case Builtin::BI__builtin_huge_vall:
    case Builtin::BI__builtin_nan:
    case Builtin::BI__builtin_nanf:
    case Builtin::BI__builtin_nanl:
        if (!m.eval(e, v)) return false;
        result.node = constant(v);
        return true;
    case Builtin::BI__builtin_trap: {
        SYMTAB*& sym = linked["_abort"];
        if (sym == nullptr) {
            TYPE* t = tp->mk_func(tp->mk_void(), false, false, true, 0);
            tp->type_frozen(t);
            sym = out.global("_abort", t, SC_EXTERN_DECL, nullptr, 16);
        }
        result.node = node1(UCALL, tp->mk_void(), node1(UAND, m.pointer_to(sym->type), name_of(sym, sym->type)));
        return true;
    }
    default:
        if (!ctx.BuiltinInfo.isLibFunction(f->getBuiltinID()))
            m.refuse(where, "builtin '" + f->getName() + "' is not supported");
        return false;
    }
}
