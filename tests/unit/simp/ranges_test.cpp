// Random integer trees, evaluated on many inputs: no value may contradict what the queries say of the tree.
#include "simp/ranges.h"
#include "simp_fixture.h"

#include <optional>
#include <random>

namespace {

using WIDE = INT65::wide;
using VALUE = std::optional<WIDE>; // nothing: the source promised that this does not happen

struct INPUT {
    std::vector<WIDE> symbols, fields;
};

class Ranges : public Simplify {
  protected:
    void SetUp() override {
        Simplify::SetUp();
        types = integers;
        for (size_t i = 0; i < 2 * types.size(); i++)
            symbols.push_back(symbol(("v" + std::to_string(i)).c_str(), types[i / 2]));
        record = symbol("s", structure("s", {{"a", tp->int_type(), 3},
                                             {"b", tp->uint_type(), 5},
                                             {"c", tp->int_type(), 17},
                                             {"d", tp->ullong_type(), 40}}));
    }

    // ------------------------------------------------------------------------------------------ random trees
    uint32_t pick(uint32_t n) { return static_cast<uint32_t>(random() % n); }
    static WIDE cut(WIDE v, unsigned width, bool is_signed) {
        WIDE modulus = static_cast<WIDE>(1) << width;
        v %= modulus;
        if (v < 0) v += modulus;
        return is_signed && v >= modulus / 2 ? v - modulus : v;
    }
    static WIDE cut(WIDE v, TYPE* type) { return cut(v, type->size(), type->is_signed()); }

    WIDE some_value(unsigned width, bool is_signed) {
        WIDE v = 0;
        switch (pick(5)) {
        case 0: v = static_cast<WIDE>(pick(9)) - 4; break;
        case 1: v = (static_cast<WIDE>(1) << pick(width)) + static_cast<WIDE>(pick(3)) - 1; break;
        case 2: v = -((static_cast<WIDE>(1) << pick(width)) + static_cast<WIDE>(pick(3)) - 1); break;
        case 3: v = pick(200); break;
        default: v = static_cast<WIDE>(random()) << 32 | random(); break;
        }
        return cut(v, width, is_signed);
    }
    NODE* constant(TYPE* type) { return mk_ICON(INT65::from_wide(some_value(type->size(), type->is_signed())), type); }

    NODE* leaf(TYPE* type) {
        uint32_t kind = pick(4);
        if (kind == 0) return constant(type);
        if (kind == 1) return maketree(SCONV, dot(name(record), pick(4)), nullptr, type);
        for (size_t i = 0; i < types.size(); i++)
            if (types[i] == type) return name(symbols[2 * i + pick(2)]);
        return constant(type);
    }

    NODE* tree(TYPE* type, int depth) {
        static constexpr int operators[] = {PLUS, MINUS, MULT, DIV,  MOD,    ANDB,  ORB,     XORB,    SLL,    SRL,
                                            PLUS, MULT,  ANDB, NOTB, UMINUS, ABS,   QUEST,   SCONV,   LT,     EQ,
                                            ULE,  SCONV, ASG,  SLL,  SRL,    MINUS, PLUSASG, ANDBASG, SRLASG, COMMAOP};
        if (depth == 0) return leaf(type);
        int op = operators[pick(std::size(operators))];
        NODE* node = nullptr;
        TYPE* other = pick(8) == 0 ? types[pick(6)] : type; // now and then a conversion that is not written
        switch (op) {
        case NOTB:
        case UMINUS:
        case ABS: node = maketree(op, tree(type, depth - 1), nullptr, type); break;
        case SCONV: return maketree(SCONV, tree(types[pick(6)], depth - 1), nullptr, type);
        case LT:
        case EQ:
        case ULE:
            other = types[pick(6)];
            node = maketree(op, tree(other, depth - 1), tree(other, depth - 1), int_type);
            return type == int_type ? node : maketree(SCONV, node, nullptr, type);
        case SLL:
        case SRL: {
            NODE* count = pick(3) != 0 ? mk_ICON(INT65(static_cast<int>(pick(type->size() + 3)) - 1), int_type)
                                       : tree(int_type, depth - 1);
            return maketree(op, tree(type, depth - 1), count, type);
        }
        case QUEST:
            return maketree(QUEST, leaf(int_type), maketree(COLON, tree(type, depth - 1), tree(other, depth - 1), type),
                            type);
        case ASG:
        case PLUSASG:
        case ANDBASG:
        case SRLASG: {
            NODE* to = pick(2) == 0 ? dot(name(record), pick(4)) : name(symbols[pick(12)]);
            TYPE* to_type = to->type;
            return maketree(SCONV, maketree(op, to, tree(to_type, depth - 1), to_type), nullptr, type);
        }
        case COMMAOP: return maketree(COMMAOP, leaf(type), tree(type, depth - 1), type);
        default: {
            NODE* right = pick(3) == 0 ? constant(type) : tree(other, depth - 1);
            node = maketree(op, tree(type, depth - 1), right, type);
        }
        }
        bool arithmetic = op == PLUS || op == MINUS || op == MULT || op == UMINUS;
        if (arithmetic && type->is_signed() && pick(3) == 0) node->flags |= NODE_NO_WRAP;
        return node;
    }

    // -------------------------------------------------------------------------------------------- evaluation
    static VALUE operation(int op, WIDE a, WIDE b, TYPE* type, bool no_wrap) {
        WIDE r = 0;
        WIDE width = type->size();
        switch (op) {
        case PLUS: r = a + b; break;
        case MINUS: r = a - b; break;
        case MULT:
            if (no_wrap && __builtin_mul_overflow(a, b, &r)) return {};
            r = static_cast<WIDE>(static_cast<unsigned __int128>(a) * static_cast<unsigned __int128>(b));
            break;
        case UMINUS: r = -a; break;
        case NOTB: r = ~a; break;
        case ABS: r = a < 0 ? -a : a; break;
        case DIV:
        case MOD:
            if (b == 0) return {};
            r = op == DIV ? a / b : a % b;
            break;
        case ANDB: r = a & b; break;
        case ORB: r = a | b; break;
        case XORB: r = a ^ b; break;
        case SLL: r = b < 0 || b >= width ? 0 : static_cast<WIDE>(static_cast<unsigned __int128>(a) << b); break;
        case SRL: r = b < 0 || b >= width ? (a < 0 ? -1 : 0) : a >> static_cast<int>(b); break;
        default: ADD_FAILURE() << "operator " << op;
        }
        if (no_wrap && r != cut(r, type)) return {};
        return op == MULT ? cut(static_cast<WIDE>(static_cast<uint64_t>(r)), type) : cut(r, type);
    }

    WIDE* place(const NODE* lvalue, INPUT& in) {
        if (lvalue->op == STDOT) return &in.fields[lvalue->right->mval->id - 1];
        for (size_t i = 0; i < symbols.size(); i++)
            if (lvalue->u.sym == symbols[i]) return &in.symbols[i];
        return nullptr;
    }
    static unsigned width_of_lvalue(const NODE* lvalue) {
        return lvalue->op == STDOT ? lvalue->right->mval->bit_size : lvalue->type->size();
    }

    VALUE eval(NODE* n, INPUT& in) {
        TYPE* type = n->type;
        auto as = [&](NODE* operand, TYPE* to) -> VALUE {
            VALUE v = eval(operand, in);
            if (v) v = cut(*v, to);
            return v;
        };
        switch (n->op) {
        case ICON: return n->u.lval.to_wide();
        case NAME:
        case STDOT: return *place(n, in);
        case SCONV: return as(n->left, type);
        case COMMAOP: {
            VALUE first = eval(n->left, in);
            return first ? as(n->right, type) : VALUE();
        }
        case QUEST: {
            VALUE c = eval(n->left, in);
            return c ? as(*c != 0 ? n->right->left : n->right->right, type) : VALUE();
        }
        case LT:
        case EQ:
        case ULE: {
            TYPE* common = combined_type(n->left, n->right);
            VALUE a = as(n->left, common), b = as(n->right, common);
            if (!a || !b) return {};
            if (n->op == LT) return *a < *b;
            if (n->op == EQ) return *a == *b;
            return cut(*a, common->size(), false) <= cut(*b, common->size(), false);
        }
        case ASG:
        case PLUSASG:
        case ANDBASG:
        case SRLASG: {
            VALUE v = eval(n->right, in);
            if (!v) return {};
            WIDE* to = place(n->left, in);
            if (n->op != ASG) {
                int op = op_of_opASG[n->op];
                TYPE* common = op == SRL ? promoted_type(n->left->type) : combined_type(n->left, n->right);
                v = operation(op, cut(*to, common), op == SRL ? *v : cut(*v, common), common, false);
            }
            return *to = cut(*v, width_of_lvalue(n->left), n->left->type->is_signed());
        }
        default: {
            VALUE a = as(n->left, type);
            VALUE b = n->right == nullptr            ? VALUE(0)
                      : n->op == SLL || n->op == SRL ? eval(n->right, in)
                                                     : as(n->right, type);
            if (!a || !b) return {};
            return operation(n->op, *a, *b, type, (n->flags & NODE_NO_WRAP) != 0);
        }
        }
    }

    INPUT some_input() {
        INPUT in;
        for (const SYMTAB* s : symbols) in.symbols.push_back(some_value(s->type->size(), s->type->is_signed()));
        in.fields = {some_value(3, true), some_value(5, false), some_value(17, true), some_value(40, false)};
        return in;
    }

    // ------------------------------------------------------------------------------------------------ claims
    struct CLAIMS {
        WIDE low, high, ones, maybe, factor;
        int sign, strict_sign;
        bool zero, non_zero, positive, negative, non_negative, exact, operands_differ;
        int residues[3];
    };
    static constexpr int moduli[3] = {3, 8, 12};

    CLAIMS claims_of(NODE* t) {
        CLAIMS c;
        VALUE_RANGE r = calculate_range_for_tree(t);
        c.low = r.low.to_wide(), c.high = r.high.to_wide();
        c.ones = find_known_ones(t, t->type).to_wide(), c.maybe = find_known_zeros(t, t->type).to_wide();
        if (t->op == ANDB) c.maybe &= find_known_zeros_in_ANDB(t, nullptr, nullptr).to_wide();
        c.factor = max_ICON_factor(t).to_wide();
        c.sign = sign_of_integer_expression(t, nullptr, 0, nullptr);
        c.strict_sign = sign_of_integer_expression(t, nullptr, 1, nullptr);
        c.zero = tree_is_zero(t), c.non_zero = tree_is_non_zero(t), c.positive = tree_is_positive(t);
        c.negative = tree_is_negative(t), c.non_negative = tree_is_non_negative(t);
        c.exact = result_is_exact(t, nullptr, nullptr);
        c.operands_differ = (t->op == EQ || t->op == LT) && tree_values_are_not_equal(t->left, t->right);
        for (int i = 0; i < 3; i++) c.residues[i] = expr_modulo_constant(t, t->type, moduli[i]);
        return c;
    }

    static std::string wrong_claim(const CLAIMS& c, WIDE v, TYPE* type) {
        if (v < c.low || v > c.high) return "range";
        WIDE bits = cut(v, type->size(), false);
        if ((c.ones & ~bits) != 0) return "known ones";
        if ((bits & ~c.maybe) != 0) return "known zeros";
        if (c.factor == 0 ? v != 0 : v % c.factor != 0) return "factor";
        if (c.zero && v != 0) return "zero";
        if (c.non_zero && v == 0) return "non-zero";
        if ((c.positive && v <= 0) || (c.negative && v >= 0) || (c.non_negative && v < 0)) return "sign";
        if ((c.sign == -1 && v >= 0) || (c.sign == 1 && v < 0)) return "sign of expression";
        int sign = v > 0 ? 1 : v < 0 ? -1 : 0;
        if (c.strict_sign != 2 && c.strict_sign != sign) return "strict sign";
        for (int i = 0; i < 3; i++)
            if (c.residues[i] >= 0 && (v - c.residues[i]) % moduli[i] != 0) return "remainder";
        return "";
    }

    void check(NODE* t, int inputs) {
        CLAIMS c = claims_of(t);
        for (int i = 0; i < inputs; i++) {
            INPUT in = some_input();
            INPUT start = in;
            VALUE v = eval(t, in);
            if (!v) continue;
            std::string wrong = wrong_claim(c, *v, t->type);
            if (c.exact) {
                // Operands are evaluated apart, each from the same input: the trees here are mostly free of effects.
                INPUT again = start;
                VALUE a = eval(t->left, again), b = t->right != nullptr ? eval(t->right, again) : VALUE(0);
                WIDE x = cut(*a, t->type), y = cut(*b, t->type);
                WIDE exact = t->op == PLUS ? x + y : t->op == MINUS ? x - y : t->op == UMINUS ? -x : x * y;
                if (exact != *v) wrong = "exact";
            }
            if (c.operands_differ) {
                INPUT again = start;
                VALUE a = eval(t->left, again), b = eval(t->right, again);
                TYPE* common = combined_type(t->left, t->right);
                if (cut(*a, common) == cut(*b, common)) wrong = "not equal";
            }
            if (wrong.empty()) continue;
            FAIL() << wrong << ": " << text(t) << " = " << int65_to_text(INT65::from_wide(*v)) << " in "
                   << int65_to_text(INT65::from_wide(c.low)) << ".." << int65_to_text(INT65::from_wide(c.high))
                   << " factor " << int65_to_text(INT65::from_wide(c.factor));
        }
    }

    std::mt19937 random{20261123};
    std::vector<TYPE*> types;
    std::vector<SYMTAB*> symbols;
    SYMTAB* record = nullptr;
};

TEST_F(Ranges, NoValueContradictsAQuery) {
    const char* effort = getenv("NX_RANGE_TREES");
    int trees = effort != nullptr ? atoi(effort) : 10000;
    for (int i = 0; i < trees && !HasFailure(); i++) {
        NODE* t = tree(types[pick(6)], 1 + static_cast<int>(pick(4)));
        check(t, 40);
        erase_tree(t);
    }
}

// The values of a 16-bit variable against constants at the edges of each operator.
TEST_F(Ranges, EveryValueOfAShortVariable) {
    static constexpr int operators[] = {PLUS, MINUS, MULT, DIV, MOD, ANDB, ORB, XORB, SLL, SRL};
    static constexpr int constants[] = {-32768, -2, -1, 0, 1, 7, 8, 16, 255};
    for (TYPE* type : {types[0], types[1], types[2]})
        for (int op : operators)
            for (int k : constants) {
                SYMTAB* x = symbols[type->is_unsigned() ? 2 : 0];
                NODE* t = maketree(op, maketree(SCONV, name(x), nullptr, type), mk_ICON(k, type), type);
                CLAIMS c = claims_of(t);
                INPUT in = some_input();
                WIDE low = 0, high = 0;
                bool any = false;
                WIDE first = type->is_unsigned() ? 0 : -32768, stride = type == types[0] ? 1 : 5; // 5 divides 65535
                for (WIDE v = first; v <= first + 65535; v += stride) {
                    *place(t->left->left, in) = v;
                    VALUE r = eval(t, in);
                    if (!r) continue;
                    ASSERT_EQ(wrong_claim(c, *r, type), "") << text(t) << " = " << static_cast<long>(*r);
                    low = any ? std::min(low, *r) : *r;
                    high = any ? std::max(high, *r) : *r;
                    any = true;
                }
                // The bounds of what cannot wrap are met.
                bool monotone = op == PLUS || op == MINUS || op == MULT || (op == DIV && k != 0);
                if (monotone && type == int_type) { EXPECT_TRUE(low == c.low && high == c.high) << text(t); }
                erase_tree(t);
            }
}

TEST_F(Ranges, MasksMarksAndSquares) {
    NODE* x = name(symbols[4]);
    NODE* masked = maketree(ANDB, x, icon(255), int_type);
    EXPECT_EQ(calculate_maxval_for_tree(masked), INT65(255));
    EXPECT_EQ(calculate_minval_for_tree(masked), INT65(0));
    NODE* square = maketree(MULT, name(symbols[4]), name(symbols[4]), int_type);
    EXPECT_TRUE(expr_product_may_overflow(square));
    EXPECT_FALSE(tree_is_non_negative(square));
    square->flags |= NODE_NO_WRAP;
    EXPECT_TRUE(tree_is_non_negative(square));
    NODE* product = maketree(MULT, name(symbols[4]), icon(6), int_type);
    EXPECT_EQ(max_ICON_factor(product), INT65(2)); // it may wrap
    product->flags |= NODE_NO_WRAP;
    EXPECT_EQ(max_ICON_factor(product), INT65(6));
    NODE* six = maketree(DIV, product, icon(3), int_type);
    EXPECT_TRUE(integer_DIV_is_exact(six));
    for (NODE* t : {masked, square, six}) erase_tree(t);
}

TEST_F(Ranges, AProductOfManyLevelsMayOverflow) {
    NODE* t = maketree(ANDB, name(symbols[4]), icon(1), int_type);
    for (int levels = 1; levels <= 10; levels++) {
        t = maketree(MULT, t, icon(1), int_type);
        EXPECT_EQ(expr_product_may_overflow(t), levels > 9) << levels;
    }
    erase_tree(t);
}

TEST_F(Ranges, GivensOfTheFunctionSharpenTheAnswers) {
    auto x = [&] { return name(symbols[4]); };
    NODE* sum = maketree(PLUS, x(), icon(1), int_type);
    EXPECT_FALSE(result_is_exact(sum, nullptr, nullptr));
    NODE* below = maketree(LT, x(), icon(100), int_type);
    NODE* multiple = maketree(EQ, maketree(MOD, x(), icon(12), int_type), icon(0), int_type);
    f.global_assertions = mkelist(below, mkelist(multiple, nullptr, nullptr), nullptr);
    EXPECT_TRUE(result_is_exact(sum, nullptr, nullptr));
    EXPECT_EQ(calculate_maxval_for_tree(sum), INT65(100));
    EXPECT_EQ(max_ICON_factor(sum->left), INT65(12));
    EXPECT_EQ(find_known_zeros(sum->left, int_type) & INT65(3), INT65(0));
    EXPECT_EQ(expr_modulo_constant(sum, int_type, 3), 1);
    f.global_assertions = erase_tree_list(f.global_assertions);
    erase_tree(sum);
}

TEST_F(Ranges, LikeTermsJoinBeforeTheirFactorIsTaken) {
    auto x = [&] { return name(symbols[4]); };
    auto op = [&](int opcode, NODE* a, NODE* b) {
        NODE* t = maketree(opcode, a, b, int_type);
        t->flags |= NODE_NO_WRAP;
        return t;
    };
    // (x + 1) * 6 + (x + 5) * 3 is 9 * x + 21, (x + 1) * 6 + (x - 2) * 3 is 9 * x
    for (auto [c, factor] : {std::pair{5, 3}, {-2, 9}, {7, 9}}) {
        NODE* t = op(PLUS, op(MULT, op(PLUS, x(), icon(1)), icon(6)), op(MULT, op(PLUS, x(), icon(c)), icon(3)));
        EXPECT_EQ(max_ICON_factor(t), INT65(factor)) << c;
        t->left->flags = 0; // may wrap: only the powers of two are sure
        EXPECT_EQ(max_ICON_factor(t), INT65(1)) << c;
        erase_tree(t);
    }
    NODE *four = icon(4), *six = maketree(PLUS, maketree(ANDB, x(), icon(12), int_type), icon(6), int_type);
    NODE* small = maketree(PLUS, maketree(ANDB, x(), icon(1), int_type), icon(1), int_type);
    EXPECT_TRUE(expr_cannot_divide_expr(four, six, nullptr));
    EXPECT_TRUE(expr_cannot_divide_expr(six, four, nullptr)); // 6 and more are too large
    EXPECT_TRUE(expr_cannot_divide_expr(four, small, nullptr));
    EXPECT_FALSE(expr_cannot_divide_expr(small, four, nullptr));
    for (NODE* t : {four, six, small}) erase_tree(t);
}

// On random trees: an extreme is a bound, and a tree simplified in a range is right there.
TEST_F(Ranges, ExtremesBoundAndRangesNarrow) {
    int moved = 0;
    for (int i = 0; i < 3000 && !HasFailure(); i++) {
        NODE* t = maketree(SCONV, name(symbols[pick(4)]), nullptr, int_type);
        for (int steps = 1 + static_cast<int>(pick(4)); steps > 0; steps--) {
            static constexpr int operators[] = {PLUS, MINUS, MULT, DIV};
            NODE* n = maketree(operators[pick(4)], t, icon(static_cast<int>(pick(60)) - 30), int_type);
            if (n->op == PLUS || n->op == MINUS)
                if (pick(2) == 0) {
                    erase_tree(n->right);
                    n->right = name(symbols[pick(6)]);
                    if (pick(2) == 0) std::swap(n->left, n->right);
                }
            if (pick(2) == 0) n->flags |= NODE_NO_WRAP;
            t = n;
        }
        std::string before = text(t);
        NODE* low = partially_eval_for_minimum(copy_tree(t), nullptr, 0);
        NODE* high = partially_eval_for_maximum(copy_tree(t), nullptr, 0);
        if (text(low) != before) moved++;
        int from = static_cast<int>(pick(100)) - 50, width = static_cast<int>(pick(4)) * 10;
        NODE* one = maketree(PLUS, maketree(MULT, name(symbols[4]), icon(static_cast<int>(pick(9))), int_type),
                             maketree(DIV, name(symbols[4]), icon(static_cast<int>(pick(30)) + 1), int_type), int_type);
        NODE* narrowed = simp_tree_in_range(copy_tree(one), from, from + width, 7);
        for (int k = 0; k < 40; k++) {
            INPUT in = some_input();
            VALUE v = eval(t, in), a = eval(low, in), b = eval(high, in);
            if (v) {
                ASSERT_TRUE(a && *a <= *v) << before << " at least " << text(low);
                ASSERT_TRUE(b && *b >= *v) << before << " at most " << text(high);
            }
            in.symbols[4] = from + 7 * static_cast<int>(pick(static_cast<uint32_t>(width / 7 + 1)));
            ASSERT_EQ(eval(one, in), eval(narrowed, in)) << text(one) << " is not " << text(narrowed);
        }
        for (NODE* n : {t, low, high, one, narrowed}) erase_tree(n);
    }
    EXPECT_GT(moved, 300);
}

} // namespace
