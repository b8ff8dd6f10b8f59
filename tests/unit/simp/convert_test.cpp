// Conversions.
#include "simp_fixture.h"

#include <cmath>
#include <optional>
#include <variant>

namespace {

using WIDE = INT65::wide;
using VALUE = std::variant<WIDE, double>;

class Convert : public Simplify {
  protected:
    // The value of a tree of conversions, comparisons with 0 and masks over one variable; nothing if a float does not
    // fit its integer.
    static std::optional<VALUE> value(const NODE* n, const VALUE& x) {
        if (n->op == NAME) return x;
        if (n->op == ICON) return n->u.lval.to_wide();
        if (n->op == FCON) return std::strtod(const_cast<NODE*>(n)->fcon_value(), nullptr);
        std::optional<VALUE> a = value(n->left, x);
        if (!a) return {};
        if (n->op == SCONV) return conversion(*a, n->type);
        std::optional<VALUE> b = value(n->right, x);
        if (n->op == NEQ) {
            auto number = [](const VALUE& v) { return v.index() ? std::get<1>(v) : double(std::get<0>(v)); };
            return WIDE{a->index() || b->index() ? number(*a) != number(*b) : std::get<0>(*a) != std::get<0>(*b)};
        }
        if (n->op == ANDB) return std::get<0>(*a) & std::get<0>(*b);
        ADD_FAILURE() << "unexpected " << opname(n->op);
        return {};
    }
    static std::string chain_of(const NODE* tree) {
        std::string text;
        for (; tree->op == SCONV; tree = tree->left) text += "(" + tree->type->printstr() + ")";
        return text + show(tree);
    }
    static std::optional<VALUE> conversion(const VALUE& v, TYPE* type) {
        if (type->is_fltpt()) {
            // From the integer at once: a way over double would round twice.
            if (type->size() == 32) return double(v.index() ? float(std::get<1>(v)) : float(std::get<0>(v)));
            return v.index() ? std::get<1>(v) : double(std::get<0>(v));
        }
        if (type->is_bool()) return WIDE{v.index() ? std::get<1>(v) != 0 : std::get<0>(v) != 0};
        if (v.index() == 0) return truncate_to_type(INT65::from_wide(std::get<0>(v)), type).to_wide();
        double whole = std::trunc(std::get<1>(v));
        if (!(std::fabs(whole) < 0x1p70)) return {};
        auto w = static_cast<WIDE>(whole);
        if (w < int_type_min(type).to_wide() || w > int_type_max(type).to_wide()) return {};
        return w;
    }
};

// Every chain of three conversions from every type, on boundary values: the same value, never a longer tree.
TEST_F(Convert, chains_keep_the_value) {
    std::vector<TYPE*> types = integers;
    types.insert(types.end(), {tp->bool_type()->normalized(), tp->float_type()->normalized(), double_type});
    size_t n = types.size(), shortened = 0;
    for (size_t code = 0; code < n * n * n * n; code++) {
        TYPE* from = types[code % n];
        SYMTAB* x = symbol("x", from);
        NODE* tree = name(x);
        for (size_t c = code / n, i = 0; i < 3; i++, c /= n) tree = maketree(SCONV, tree, nullptr, types[c % n]);
        NODE* after = simp_tree(copy_tree(tree));
        shortened += count_nodes_in_tree(after) < 4;
        std::vector<VALUE> values;
        if (from->is_fltpt())
            for (double v : {0.0, -0.0, 0.5, -1.0, 65535.5, 16777216.0, -32769.0, 2147483648.0, 1.5e19, 1e30})
                values.push_back(from->size() == 32 ? double(float(v)) : v);
        else
            for (INT65 v : {INT65(0), INT65(1), INT65(-1), INT65(2), INT65(0x8000), INT65(65536), INT65(16777217),
                            int_type_max(from), int_type_min(from), INT65(0x7fffffff80000000ll)})
                values.push_back(from->is_bool() ? WIDE{!v.is_zero()} : truncate_to_type(v, from).to_wide());
        for (const VALUE& v : values) {
            std::optional<VALUE> before = value(tree, v);
            if (!before) continue;
            std::optional<VALUE> now = value(after, v);
            ASSERT_TRUE(now.has_value() && *now == *before)
                << from->printstr() << ": " << chain_of(tree) << " -> " << chain_of(after);
        }
        ASSERT_TRUE(compatible_types(after->type, tree->type, false)) << show(tree) << " -> " << show(after);
        erase_tree(tree);
        erase_tree(after);
    }
    EXPECT_GT(shortened, n * n * n * n / 2);
}

TEST_F(Convert, shapes) {
    SYMTAB* x = symbol("x", int_type);
    SYMTAB* p = symbol("p", tp->mk_ptr(int_type));
    auto to = [](TYPE* type, NODE* a) { return mk_SCONV(a, type); };
    auto masked = [&](int mask) { return maketree(ANDB, name(x), icon(mask), int_type); };
    EXPECT_EQ(simplified(to(char_type, masked(0xffff))), "SCONV16(x)");
    EXPECT_EQ(simplified(to(uint_type, to(int_type, name(p)))), "SCONV32(p)");
    EXPECT_EQ(simplified(mk_PCONV(to(uint_type, name(p)), p->type)), "p");
    EXPECT_EQ(simplified(mk_PCONV(mk_PCONV(name(p), tp->mk_ptr(char_type)), p->type)), "p");
    NODE* other = simp_tree(mk_PCONV(name(p), tp->mk_ptr(char_type)));
    EXPECT_EQ(gone(other), "PCONV(p)") << "it says what is accessed";
    EXPECT_EQ(simplified(to(uint_type, mk_PCONV(icon(-1), p->type))), "4294967295");
    TYPE* wide = integers[4];
    EXPECT_EQ(simplified(to(wide, mk_PCONV(icon(-1), p->type))), "4294967295") << "an address is unsigned";
    NODE* argument = maketree(ACONV, to(int_type, name(symbol("c", char_type))), nullptr, wide);
    EXPECT_EQ(simplified(argument), "ACONV(c)");
    EXPECT_EQ(simplified(maketree(ACONV, icon(-1), nullptr, tp->uchar_type()->normalized())), "65535");
}

TEST_F(Convert, coercions) {
    NODE* c = coerce_to_type(constant(-1, int_type), integers[1]);
    EXPECT_EQ(c->type, integers[1]);
    EXPECT_EQ(gone(c), "65535");
    EXPECT_EQ(gone(coerce_to_type(constant(2, int_type), tp->bool_type())), "1");
    SYMTAB* x = symbol("x", tp->mk_qual(int_type, QUAL_CONST));
    EXPECT_EQ(gone(coerce_to_type(name(x), int_type)), "x");
    TYPE* fields = structure("fields", {{"u", uint_type, 5}, {"s", int_type, 5}, {"one", uint_type, 1}});
    SYMTAB* s = symbol("s", fields);
    auto stored = [&](size_t member, int value) {
        NODE* target = dot(name(s), member);
        std::string text = gone(truncate_RHS_for_assignment(target, icon(value), true));
        erase_tree(target);
        return text;
    };
    EXPECT_EQ(stored(0, 63), "31");
    EXPECT_EQ(stored(1, 63), "-1");
    NODE* bit = dot(name(s), 2);
    EXPECT_TRUE(returns_1_or_0(bit));
    erase_tree(bit);
    bit = dot(name(s), 1);
    EXPECT_FALSE(returns_1_or_0(bit));
    erase_tree(bit);
}

TEST_F(Convert, zero_or_one) {
    SYMTAB *x = symbol("x", int_type), *b = symbol("b", tp->bool_type());
    auto test = [&](NODE* tree) {
        bool answer = returns_1_or_0(tree);
        erase_tree(tree);
        return answer;
    };
    auto less = [&] { return maketree(LT, name(x), icon(3), int_type); };
    EXPECT_TRUE(test(less()));
    EXPECT_TRUE(test(maketree(XORB, less(), mk_SCONV(name(b), int_type), int_type)));
    EXPECT_TRUE(test(maketree(ANDB, name(x), less(), int_type)));
    EXPECT_FALSE(test(maketree(ORB, name(x), less(), int_type)));
    EXPECT_FALSE(test(maketree(PLUS, less(), less(), int_type)));
    EXPECT_TRUE(test(maketree(QUEST, name(x), maketree(COLON, icon(1), less(), int_type), int_type)));
    EXPECT_FALSE(test(maketree(QUEST, name(x), maketree(COLON, icon(2), less(), int_type), int_type)));
    EXPECT_TRUE(test(asg(name(x), less())));
    TYPE* fields = structure("sign", {{"f", int_type, 1}});
    EXPECT_FALSE(test(asg(dot(name(symbol("s", fields)), 0), less()))) << "the field holds 0 and -1";
}

TEST_F(Convert, mandatory_casts) {
    SYMTAB *x = symbol("x", int_type), *c = symbol("c", char_type), *w = symbol("w", integers[4]);
    SYMTAB *u = symbol("u", integers[1]), *b = symbol("b", tp->bool_type()), *p = symbol("p", tp->mk_ptr(int_type));
    SYMTAB* d = symbol("d", double_type);
    auto casts = [&](NODE* tree) {
        tree = insert_mandatory_casts(tree);
        std::string once = show(tree);
        tree = insert_mandatory_casts(tree);
        EXPECT_EQ(show(tree), once);
        return gone(tree);
    };
    EXPECT_EQ(casts(plus(name(c), name(x))), "+(SCONV32(c) x)");
    EXPECT_EQ(casts(maketree(LT, name(c), name(w), int_type)), "<(SCONV64(c) w)");
    EXPECT_EQ(casts(maketree(EQ, name(p), icon(0), int_type)), "==(p PCONV(0))");
    EXPECT_EQ(casts(maketree(PLUS, name(p), name(w), p->type)), "+(p SCONV32(w))");
    EXPECT_EQ(casts(maketree(SLL, name(c), name(w), int_type)), "<<(SCONV32(c) w)");
    EXPECT_EQ(casts(asg(name(c), icon(65535))), "=(c -1)");
    EXPECT_EQ(casts(asg(name(b), name(u))), "=(b SCONV16(!=(u 0)))") << "same size, yet another value";
    EXPECT_EQ(casts(maketree(PLUSASG, name(x), name(d), int_type)), "+=(x d)");
    EXPECT_EQ(casts(maketree(MULTASG, name(d), name(x), double_type)), "*=(d SCONV64(x))");
    EXPECT_EQ(casts(maketree(QUEST, name(x), maketree(COLON, name(c), name(w), int_type), int_type)),
              "?(x :(SCONV32(c) SCONV32(w)))");
    EXPECT_EQ(casts(give_back(name(w))), "RETURN(_f SCONV32(w))");
    TYPE* function = tp->mk_func(int_type, false, true, true, 0);
    fkPARAM parameter;
    parameter.type = double_type;
    tp->add_param(function, parameter);
    tp->type_frozen(function);
    NODE* callee = address(name(global("_g", function, SC_EXTERN_DECL)));
    NODE* call = maketree(CALL, callee, maketree(COMMA, name(x), name(c), int_type), int_type);
    EXPECT_EQ(casts(call), "CALL(U&(_g) ,(SCONV64(x) SCONV32(c)))");
}

} // namespace
