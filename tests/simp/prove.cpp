#include "prove.h"

#include <map>
#include <z3++.h>

namespace {

struct NOT_TRANSLATED {};

using EXPR = z3::expr;

// Translates one tree. Facts gather what must hold where control gets: no overflow of marked nodes, divisors.
class TRANSLATION {
  public:
    TRANSLATION(z3::context& c, std::map<std::string, EXPR>& variables)
        : facts(c), c_(c), variables_(variables), path_(c.bool_val(true)) {}

    EXPR value(const NODE* n) {
        KIND k = kind_of_type(n->type);
        if (!is_int_kind(k)) throw NOT_TRANSLATED{};
        unsigned w = bits_of_kind(k);
        switch (n->op) {
        case ICON: return c_.bv_val(n->u.lval.bits64(), w);
        case NAME:
            if (n->type->is_volatile()) throw NOT_TRANSLATED{};
            return variable(n->u.sym->name, k, w);
        case STDOT:
        case STREF: return member(n, k);
        case PLUS:
        case MINUS:
        case MULT: return sum(n->op, value_as(n->left, k), value_as(n->right, k), n, k);
        case UMINUS: return sum(MINUS, c_.bv_val(0, w), value_as(n->left, k), n, k);
        case SQR: {
            EXPR a = value_as(n->left, k);
            return sum(MULT, a, a, n, k);
        }
        case ABS: {
            EXPR a = value_as(n->left, k);
            return is_signed_int(k) ? z3::ite(a < c_.bv_val(0, w), -a, a) : a;
        }
        case DIV:
        case MOD: {
            EXPR a = value_as(n->left, k), b = value_as(n->right, k);
            must(b != c_.bv_val(0, w));
            if (n->op == DIV) return is_signed_int(k) ? a / b : z3::udiv(a, b);
            return is_signed_int(k) ? z3::srem(a, b) : z3::urem(a, b);
        }
        case ANDB: return value_as(n->left, k) & value_as(n->right, k);
        case ORB: return value_as(n->left, k) | value_as(n->right, k);
        case XORB: return value_as(n->left, k) ^ value_as(n->right, k);
        case NOTB: return ~value_as(n->left, k);
        case SLL:
        case SRL: return shift(n, k);
        case SCONV: return value_as(n->left, k);
        case QUEST: {
            EXPR cond = truth(n->left);
            EXPR a = under(cond, [&] { return value_as(n->right->left, k); });
            EXPR b = under(!cond, [&] { return value_as(n->right->right, k); });
            return z3::ite(cond, a, b);
        }
        case COMMAOP:
            if (kind_of_type(n->left->type) != K_NONE) value(n->left);
            return value_as(n->right, k);
        case EXCLAIM:
        case ANDAND:
        case OROR: return z3::ite(truth(n), c_.bv_val(1, w), c_.bv_val(0, w));
        default:
            if (opcode_is_comparison(n->op)) return z3::ite(truth(n), c_.bv_val(1, w), c_.bv_val(0, w));
            throw NOT_TRANSLATED{};
        }
    }

    std::vector<EXPR> limits; // of the variables
    z3::expr_vector facts;

  private:
    z3::context& c_;
    std::map<std::string, EXPR>& variables_;
    EXPR path_; // when control gets here

    void must(const EXPR& fact) { facts.push_back(z3::implies(path_, fact)); }
    template <typename F> EXPR under(const EXPR& cond, F&& f) {
        EXPR outer = path_;
        path_ = outer && cond;
        EXPR result = f();
        path_ = outer;
        return result;
    }

    EXPR variable(const std::string& name, KIND k, unsigned width) {
        auto it = variables_.find(name);
        if (it != variables_.end()) {
            if (it->second.get_sort().bv_size() != width) throw NOT_TRANSLATED{};
            return it->second;
        }
        EXPR v = c_.bv_const(name.c_str(), width);
        if (k == K_B) limits.push_back(z3::ule(v, c_.bv_val(1, width)));
        variables_.emplace(name, v);
        return v;
    }
    EXPR member(const NODE* n, KIND k) {
        const NODE* object = n->left;
        bool behind_pointer = n->op == STREF || object->op == UMULT;
        if (n->op == STDOT && object->op == UMULT) object = object->left;
        if (object->op != NAME || n->type->is_volatile()) throw NOT_TRANSLATED{};
        const fkMDATA* m = n->right->mval;
        EXPR v = variable(std::string(object->u.sym->name) + (behind_pointer ? "->" : ".") + m->name, k, m->bit_size);
        return extended(v, is_signed_int(k), bits_of_kind(k));
    }

    EXPR extended(const EXPR& v, bool is_signed, unsigned to) {
        unsigned from = v.get_sort().bv_size();
        if (to < from) return v.extract(to - 1, 0);
        if (to == from) return v;
        return is_signed ? z3::sext(v, to - from) : z3::zext(v, to - from);
    }
    EXPR converted(const EXPR& v, KIND from, KIND to) {
        if (from == to) return v;
        unsigned width = bits_of_kind(to);
        if (to == K_B) return z3::ite(v != c_.bv_val(0, bits_of_kind(from)), c_.bv_val(1, width), c_.bv_val(0, width));
        return extended(v, is_signed_int(from), width);
    }
    EXPR value_as(const NODE* n, KIND k) { return converted(value(n), kind_of_type(n->type), k); }

    EXPR sum(int op, const EXPR& a, const EXPR& b, const NODE* n, KIND k) {
        if ((n->flags & NODE_NO_WRAP) != 0 && is_signed_int(k)) {
            if (op == MULT) {
                must(z3::bvmul_no_overflow(a, b, true) && z3::bvmul_no_underflow(a, b));
            } else {
                EXPR wide_a = z3::sext(a, 1), wide_b = z3::sext(b, 1);
                EXPR wide = op == PLUS ? wide_a + wide_b : wide_a - wide_b;
                must(wide == z3::sext(op == PLUS ? a + b : a - b, 1));
            }
        }
        return op == PLUS ? a + b : op == MINUS ? a - b : a * b;
    }

    EXPR shift(const NODE* n, KIND k) {
        EXPR a = value_as(n->left, k);
        EXPR count = value(n->right);
        KIND ck = kind_of_type(n->right->type);
        unsigned w = bits_of_kind(k), cw = bits_of_kind(ck);
        // A count that is negative or not below the width shifts everything out: as the solver's own shifts do once the
        // count is unsigned and not cut.
        unsigned wide = std::max(w, cw);
        EXPR wide_count = extended(count, is_signed_int(ck), wide);
        EXPR wide_a = extended(a, is_signed_int(k), wide);
        bool left = n->op == SLL;
        EXPR shifted = left               ? z3::shl(wide_a, wide_count)
                       : is_signed_int(k) ? z3::ashr(wide_a, wide_count)
                                          : z3::lshr(wide_a, wide_count);
        return extended(shifted, false, w);
    }

    EXPR truth(const NODE* n) {
        switch (n->op) {
        case EXCLAIM: return !truth(n->left);
        case ANDAND: {
            EXPR a = truth(n->left);
            return a && under(a, [&] { return truth(n->right); });
        }
        case OROR: {
            EXPR a = truth(n->left);
            return a || under(!a, [&] { return truth(n->right); });
        }
        default: {
            if (opcode_is_comparison(n->op)) return relation(n);
            EXPR v = value(n);
            return v != c_.bv_val(0, v.get_sort().bv_size());
        }
        }
    }

    EXPR relation(const NODE* n) {
        KIND ka = kind_of_type(n->left->type), kb = kind_of_type(n->right->type);
        EXPR a = value(n->left), b = value(n->right);
        KIND k = ka == kb ? ka : combined_kind(ka, kb);
        a = converted(a, ka, k);
        b = converted(b, kb, k);
        bool is_signed = is_signed_int(k) && n->op < ULE;
        switch (n->op) {
        case EQ: return a == b;
        case NEQ: return a != b;
        case LE:
        case ULE: return is_signed ? a <= b : z3::ule(a, b);
        case LT:
        case ULT: return is_signed ? a < b : z3::ult(a, b);
        case GE:
        case UGE: return is_signed ? a >= b : z3::uge(a, b);
        default: return is_signed ? a > b : z3::ugt(a, b);
        }
    }
};

} // namespace

struct PROVER::STATE {
    z3::context context;
    unsigned milliseconds;
};

PROVER::PROVER(unsigned milliseconds) : state_(new STATE) { state_->milliseconds = milliseconds; }
PROVER::~PROVER() = default;

VERDICT PROVER::prove(const NODE* tree, FINDING& finding) {
    z3::context& c = state_->context;
    finding = {};
    NODE* result = simp_tree(copy_tree(tree));
    finding.after = typed_text(result);
    VERDICT verdict = NOT_INTEGER;
    try {
        std::map<std::string, EXPR> variables;
        TRANSLATION before(c, variables), after(c, variables);
        KIND k = kind_of_type(tree->type);
        EXPR a = before.value(tree), b = after.value(result);
        if (kind_of_type(result->type) != k) throw NOT_TRANSLATED{};
        z3::solver solver(c, "QF_BV");
        z3::params settings(c);
        settings.set("timeout", state_->milliseconds);
        solver.set(settings);
        for (const TRANSLATION* t : {&before, &after})
            for (const EXPR& e : t->limits) solver.add(e);
        for (const EXPR& e : before.facts) solver.add(e);
        EXPR good = a == b;
        for (const EXPR& e : after.facts) good = good && e;
        solver.add(!good);
        z3::check_result answer = solver.check();
        verdict = answer == z3::unsat ? PROVED : answer == z3::unknown ? UNKNOWN : DISPROVED;
        if (verdict == DISPROVED) {
            finding.what = "the prover found an input on which the result differs";
            z3::model model = solver.get_model();
            for (auto& [name, v] : variables)
                finding.detail += name + " = " + model.eval(v, true).get_decimal_string(0) + " ";
            for (size_t i = 0; i < world.variables.size(); i++) {
                auto it = variables.find(world.variables[i].symbol->name);
                if (it == variables.end()) continue;
                DATUM value;
                value.i = cut(static_cast<int64_t>(model.eval(it->second, true).get_numeral_uint64()),
                              world.variables[i].kind);
                set_variable(finding.input.memory, static_cast<int>(i), value);
                finding.has_input = true;
            }
        }
    } catch (const NOT_TRANSLATED&) {
    } catch (const z3::exception&) { verdict = UNKNOWN; }
    erase_tree(result);
    return verdict;
}
