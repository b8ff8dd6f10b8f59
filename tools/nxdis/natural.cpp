// See natural.h.
#include "natural.h"

#include <algorithm>

namespace nxtext {

namespace {

bool shift(int op) { return opcode_is_shift(op) || op == SLLASG || op == SRLASG; }

uint32_t or_none(uint32_t t) { return t != 0 ? t : no_type; }

uint32_t arithmetic_type(const TREE& t, const ENODE& n, const TYPE_TABLE& types, bool guess) {
    const uint32_t left = types.unqualified(t[n.left].type), right = types.unqualified(t[n.right].type);
    const bool left_pointer = types.is_pointer(left), right_pointer = types.is_pointer(right);
    if (n.op == MINUS && left_pointer && right_pointer) return or_none(types.find_basic(TK_INT));
    if (left_pointer) return left;
    if (n.op == PLUS && right_pointer) return right;
    if (left == right || guess) return or_none(left);
    return no_type;
}

} // namespace

uint32_t selected_struct(const TREE& t, int node, const TYPE_TABLE& types) {
    const ENODE& n = t[node];
    uint32_t object = t[n.left].type;
    if (n.op == STREF) object = types.pointee(object);
    const uint32_t csu = types.unqualified(object);
    return types.facts(csu).kind == TK_CSU ? csu : 0;
}

uint32_t natural_type(const TREE& t, int node, uint32_t expect, const SCOPE& scope, TYPE_SOURCE& source, bool guess) {
    const ENODE& n = t[node];
    const TYPE_TABLE& types = source.types;
    const auto left = [&] { return t[n.left].type; };
    const auto unqualified_left = [&] { return or_none(types.unqualified(left())); };
    switch (opcode_class(n.op)) {
    case CLASS_ARITHMETIC: return arithmetic_type(t, n, types, guess);
    case CLASS_SHIFT:
    case CLASS_UNARY:
    case CLASS_ASG:
    case CLASS_OP_ASG:
    case CLASS_COPY:
    case CLASS_INCREMENT: return unqualified_left();
    case CLASS_COMPARISON: return source.basic(TK_INT);
    case CLASS_CALL: {
        const uint32_t f = types.function_of(left());
        return f != 0 ? or_none(types.facts(f).part) : no_type;
    }
    default: break;
    }
    switch (n.op) {
    case NAME: return or_none(scope.type_of({n.f[0], n.f[1]}));
    case ICON:
    case LCON: {
        const uint32_t want = types.unqualified(expect);
        return types.is_integral(want) ? want : source.basic(TK_INT);
    }
    case FCON: {
        const uint32_t want = types.unqualified(expect);
        return types.is_float(want) ? want : source.basic(TK_DOUBLE);
    }
    case SCON: {
        const uint32_t ch = types.find_basic(TK_CHAR);
        return ch != 0 ? source.pointer_to(ch) : no_type;
    }
    case PMCONV:
    case PVCONV:
    case RECIP:
    case STARG:
    case COLON: return unqualified_left();
    case ANDAND:
    case OROR:
    case EXCLAIM:
    case LABEL:
    case BRANCH:
    case CBRANCH:
    case SWITCH:
    case CASE:
    case DEFAULT:
    case COMMA:
    case NASSERT:
    case ASSERT:
    case LOOP:
    case ENDLOOP: return source.basic(TK_INT);
    case UMULT: return or_none(types.pointee(left()));
    case UAND: {
        const uint32_t element = types.element(left());
        const uint32_t to = element != 0 ? element : left();
        return to != 0 ? source.pointer_to(to) : no_type;
    }
    case FIELD: {
        const MEMBER_INFO* m = types.member(n.f[2], n.f[1]);
        return m != nullptr ? or_none(m->type) : no_type;
    }
    case STDOT:
    case STREF: {
        const uint32_t csu = selected_struct(t, node, types);
        const ENODE& field = t[n.right];
        const MEMBER_INFO* m = field.op == FIELD && field.f[2] == csu ? types.member(csu, field.f[1]) : nullptr;
        if (m == nullptr || m->type == 0) return no_type;
        const uint32_t object = n.op == STREF ? types.pointee(left()) : left();
        const uint32_t add = types.quals(object) & 3 & ~types.quals(m->type);
        if (add == 0) return m->type;
        const TYPE_FACTS& f = types.facts(m->type);
        return f.kind == TK_QUALIFIED ? source.qualified(f.part, f.quals | add) : source.qualified(m->type, add);
    }
    case COMMAOP:
    case QUEST: return or_none(t[n.right].type);
    case PCOMMA:
    case URETURN:
    case MCALL:
    case UMCALL:
    case NOP: return source.basic(TK_VOID);
    case RETURN: {
        if (scope.function < 0) return no_type;
        const uint32_t f = types.function_of(scope.type_of({0, static_cast<uint32_t>(scope.function)}));
        return f != 0 ? or_none(types.facts(f).part) : no_type;
    }
    case MEMCPY: {
        const uint32_t v = types.find_basic(TK_VOID);
        return v != 0 ? source.pointer_to(v) : no_type;
    }
    case ARGREF:
    case EPVAL:
    case DDNODE: return or_none(left());
    case ICALL:
    case UICALL: return types.is_scalar(expect) ? types.unqualified(expect) : source.basic(TK_INT);
    case SKIP:
    case ENDINIT: return 0;
    default: return no_type;
    }
}

uint32_t right_expectation(const TREE& t, int node, uint32_t expect, const TYPE_TABLE& types) {
    const ENODE& n = t[node];
    const uint32_t left = types.unqualified(t[n.left].type);
    if (shift(n.op) || types.is_pointer(left)) return 0;
    switch (opcode_class(n.op)) {
    case CLASS_ARITHMETIC:
    case CLASS_COMPARISON:
    case CLASS_ASG: return left;
    case CLASS_OP_ASG:
    case CLASS_INCREMENT: {
        const uint8_t k = types.facts(left).kind; // the narrow ones are promoted to int
        return k <= 5 ? 0 : left;
    }
    default: break;
    }
    switch (n.op) {
    case COLON: return expect != 0 ? expect : left;
    case COMMAOP:
    case QUEST: return expect;
    default: return 0;
    }
}

uint32_t operand_expectation(int op, uint32_t expect) {
    return opcode_class(op) == CLASS_UNARY || op == EPVAL || op == DDNODE ? expect : 0;
}

uint32_t argument_expectation(uint32_t callee_type, size_t i, const TYPE_TABLE& types) {
    const auto& params = types.facts(types.function_of(callee_type)).params;
    return i < params.size() ? params[i] : 0;
}

uint32_t natural_extra_arguments(uint32_t callee_type, size_t arguments, const TYPE_TABLE& types) {
    const TYPE_FACTS& f = types.facts(types.function_of(callee_type));
    return f.kind == TK_FUNCTION && f.vararg && f.proto && arguments > f.params.size()
               ? static_cast<uint32_t>(arguments - f.params.size())
               : 0;
}

uint32_t leaf_type(const TYPE_TABLE& types, uint32_t object, uint64_t bit) {
    for (int steps = 0; steps < 100; steps++) { // aggregates within aggregates
        object = types.unqualified(object);
        const TYPE_FACTS& f = types.facts(object);
        if (const uint32_t element = types.element(object); element != 0) {
            const uint32_t size = types.facts(element).size;
            if (size == 0) return 0;
            bit %= size;
            object = element;
            continue;
        }
        if (f.kind != TK_CSU) return object;
        if (f.members.empty()) return 0;
        const MEMBER_INFO* m = &f.members.front();
        if (f.csu_kind != 1) { // the last one that begins at or before the place
            const auto behind =
                std::upper_bound(f.members.begin(), f.members.end(), bit, [](uint64_t at, const MEMBER_INFO& one) {
                    return static_cast<int64_t>(at) < one.bit_offset;
                });
            if (behind != f.members.begin()) m = &*(behind - 1);
        }
        if (m->bitfield) return types.find_basic(TK_USHORT);
        bit -= static_cast<uint64_t>(m->bit_offset);
        object = m->type;
    }
    return 0;
}

uint64_t initialiser_step(const ENODE& value, const TYPE_TABLE& types) {
    return value.op == SKIP ? 16ULL * value.f[0] : types.facts(value.type).size;
}

} // namespace nxtext
