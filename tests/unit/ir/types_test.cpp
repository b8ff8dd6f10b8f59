#include "ir/types.h"

#include "ir/vars.h"

#include <gtest/gtest.h>

namespace {

class Types : public ::testing::Test {
  protected:
    void SetUp() override {
        tp_alloc()->init_type_pkg();
        init_types();
    }
    void TearDown() override { tp_release(); }

    // The sizes that this program's front end writes.
    void adopt_front_end_model() {
        auto adopt_int = [](TYPE::IKIND k, uint32_t bits) {
            TYPE* t = tp->mk_int(k, false, bits, bits);
            t->from_input = true;
            tp->adopt_basic_type(t);
        };
        adopt_int(TYPE::I_BOOL, 16);
        adopt_int(TYPE::I_LLONG, 64);
        adopt_int(TYPE::I_ULLONG, 64);
        tp->adopt_basic_type(tp->mk_fltpt(TYPE::F_DOUBLE, 64, 64));
        tp->adopt_basic_type(tp->mk_fltpt(TYPE::F_LDOUBLE, 64, 64));
        tp->adopt_basic_type(tp->mk_ptr(tp->void_type, 32, 32));
        tp->basic_types_changed();
    }

    TYPE* make_struct(const char* name, std::initializer_list<TYPE*> members) {
        TYPE* t = tp->mk_struct(name, 64, 32, false, 0, true, false, false);
        int32_t offset = 0;
        for (TYPE* m : members) {
            tp->add_member(t, std::make_unique<fkMDATA>("m", m, offset, m->size(), false));
            offset += static_cast<int32_t>(m->size());
        }
        return tp->type_frozen(t);
    }

    TYPE* make_func(TYPE* ret, std::initializer_list<TYPE*> params, bool proto = true, bool vararg = false) {
        TYPE* f = tp->mk_func(ret, false, vararg, proto, 0);
        for (TYPE* p : params) tp->add_param(f, {p, 0, ""});
        return tp->type_frozen(f);
    }
};
using TypesDeath = Types;

TEST_F(Types, EqualRequestsGiveOneObject) {
    TYPE* i = tp->int_type();
    EXPECT_EQ(tp->mk_ptr(i), tp->mk_ptr(i));
    EXPECT_NE(tp->mk_ptr(i), tp->mk_ptr(i, 32, 32));
    EXPECT_EQ(tp->mk_array(i, 4, false), tp->mk_array(i, 4, false));
    EXPECT_NE(tp->mk_array(i, 4, false), tp->mk_array(i, 5, false));
    EXPECT_NE(tp->mk_array(i, 4, false), tp->mk_vector(i, false, 4));
    EXPECT_EQ(make_func(i, {i, tp->void_ptr}), make_func(i, {i, tp->void_ptr}));
    EXPECT_NE(make_func(i, {i}), make_func(i, {i, i}));
    EXPECT_NE(make_func(i, {i}), make_func(i, {i}, true, true));
    EXPECT_EQ(tp->mk_qual(tp->mk_qual(i, QUAL_CONST), QUAL_VOLATILE), tp->mk_qual(i, QUAL_CONST | QUAL_VOLATILE));
    EXPECT_EQ(tp->mk_qual(i, 0), i);
    TYPE* s = make_struct("s", {i});
    EXPECT_NE(s, make_struct("s", {i}));
    EXPECT_EQ(tp->mk_qual(s, QUAL_CONST), tp->mk_qual(s, QUAL_CONST));
    EXPECT_EQ(tp->mk_int(TYPE::I_INT), i);
}

TEST_F(Types, OpenFunctionGivesWayToOlderOneUnlessTypesAreBasedOnIt) {
    TYPE* i = tp->int_type();
    TYPE* old = make_func(i, {i});
    TYPE* fresh = tp->mk_func(i, false, false, true, 0);
    TYPE* link = fresh;
    tp->add_param(fresh, {i, 0, ""});
    EXPECT_EQ(fresh->uid, 0u);
    EXPECT_EQ(tp->type_frozen(fresh), old);
    EXPECT_EQ(fresh, old);
    EXPECT_EQ(link->final_type(), old);

    TYPE* based = tp->mk_func(i, false, false, true, 0);
    TYPE* ptr = tp->mk_ptr(based);
    tp->add_param(based, {i, 0, ""});
    EXPECT_NE(tp->type_frozen(based), old);
    EXPECT_EQ(ptr->type_pointed_to(), based);
}

TEST_F(Types, FunctionsThatTakeThemselvesCompare) {
    auto self = [] {
        TYPE* f = tp->mk_func(tp->int_type(), false, false, true, 0);
        TYPE* p = tp->mk_ptr(f);
        tp->add_param(f, {p, 0, ""});
        tp->add_param(f, {p, 0, ""});
        return tp->type_frozen(f);
    };
    TYPE* f = self();
    TYPE* g = self();
    ASSERT_NE(f, g);
    EXPECT_TRUE(exact_types(f, g));
    EXPECT_TRUE(compatible_types(f, g, true));
    EXPECT_TRUE(equiv_mtypes(f, g));
    EXPECT_FALSE(f->print().empty());
    f->mark_refed_recur();
    EXPECT_TRUE(f->func->params[0].type->refd);
}

TEST_F(Types, ManyFunctionTypesOfOneResultRegisterFast) {
    // 20,000 of one shape but for the struct that they point to: quadratic look-up would take minutes.
    std::vector<TYPE*> made;
    for (int i = 0; i < 20000; i++)
        made.push_back(make_func(tp->int_type(), {tp->mk_ptr(make_struct(("s" + std::to_string(i)).c_str(), {}))}));
    EXPECT_EQ(make_func(tp->int_type(), {made[777]->func->params[0].type}), made[777]);
}

TEST_F(Types, AdoptedBasicTypesRuleSizesAndNormalForms) {
    TYPE* narrow_double = tp->double_type();
    EXPECT_EQ(narrow_double->normalized(), tp->float_type());
    EXPECT_EQ(tp->ptr_int(), tp->short_type());
    TYPE* pd = tp->mk_ptr(narrow_double);
    EXPECT_EQ(pd->normalized()->type_pointed_to(), tp->float_type());

    adopt_front_end_model();
    EXPECT_EQ(tp->double_type()->size(), 64u);
    EXPECT_EQ(tp->double_type()->normalized(), tp->double_type());
    EXPECT_EQ(tp->ldouble_type()->normalized(), tp->double_type());
    EXPECT_EQ(tp->llong_type()->normalized(), tp->llong_type());
    EXPECT_EQ(tp->ullong_type()->normalized(), tp->ullong_type());
    EXPECT_EQ(tp->long_type()->normalized(), tp->int_type());
    EXPECT_EQ(tp->ulong_type()->normalized(), tp->uint_type());
    EXPECT_EQ(tp->short_type()->normalized(), tp->char_type());
    EXPECT_EQ(tp->ushort_type()->normalized(), tp->uchar_type());
    EXPECT_EQ(tp->ints[TYPE::I_WCHAR_T]->normalized(), tp->uchar_type());
    EXPECT_EQ(tp->bool_type()->size(), 16u);
    EXPECT_EQ(tp->bool_type()->normalized(), tp->bool_type());
    EXPECT_EQ(tp->mk_ptr(tp->int_type())->size(), 32u);
    EXPECT_EQ(tp->ptr_int(), tp->int_type());
    EXPECT_EQ(tp->ptr_uint(), tp->uint_type());
    EXPECT_EQ(max_scalar_alignment, 64u);
    EXPECT_EQ(max_scalar_stride, 128u); // complex double
    EXPECT_EQ(pointer_type_stride, 32u);
    // A type of the old size keeps its own machine meaning.
    EXPECT_EQ(narrow_double->normalized()->size(), 32u);
}

TEST_F(Types, AdoptionSkipsMarkedTypes) {
    TYPE* i = tp->int_type();
    EXPECT_FALSE(tp->adopt_basic_type(tp->mk_int(TYPE::I_INT, false, 16, 16, false, true)));
    EXPECT_FALSE(tp->adopt_basic_type(tp->mk_int(TYPE::I_INT, false, 16, 16, true, false)));
    EXPECT_FALSE(tp->adopt_basic_type(tp->mk_int(TYPE::I_CHAR, true, 32, 32)));
    EXPECT_FALSE(tp->adopt_basic_type(tp->mk_ptr(i, 32, 32)));
    EXPECT_EQ(tp->int_type(), i);
}

TEST_F(Types, NormalFormsOfDerivedTypes) {
    adopt_front_end_model();
    TYPE* l = tp->long_type();
    TYPE* i = tp->int_type();
    EXPECT_EQ(tp->mk_ptr(l)->normalized(), tp->mk_ptr(i));
    EXPECT_EQ(tp->mk_array(l, 3, false)->normalized(), tp->mk_array(i, 3, false));
    EXPECT_EQ(tp->mk_qual(l, QUAL_CONST)->normalized(), tp->mk_qual(i, QUAL_CONST));
    EXPECT_EQ(tp->mk_typedef("t", false, l, false)->normalized(), i);
    EXPECT_EQ(make_func(l, {l})->normalized()->return_type(), i);
    EXPECT_EQ(make_func(l, {l})->normalized()->func->params[0].type, l);
    EXPECT_EQ(tp->mk_qual(l, QUAL_PACKED)->normalized()->align(), 16u);
}

TEST_F(Types, Compatibility) {
    adopt_front_end_model();
    TYPE* i = tp->int_type();
    TYPE* schar = tp->mk_int(TYPE::I_CHAR, true);
    EXPECT_FALSE(compatible_types(schar, tp->char_type(), false));
    EXPECT_TRUE(compatible_types(tp->mk_int(TYPE::I_INT, true), i, true));
    EXPECT_FALSE(compatible_types(i, tp->long_type(), false));
    EXPECT_TRUE(compatible_types(tp->mk_typedef("t", false, i, false), i, true));
    EXPECT_FALSE(compatible_types(tp->mk_qual(i, QUAL_CONST), i, false));

    TYPE* a = tp->mk_struct("s", 32, 32, false, 0, true, false, false);
    TYPE* b = tp->mk_struct("s", 32, 32, false, 0, true, false, false);
    EXPECT_TRUE(compatible_types(a, a, true));
    EXPECT_FALSE(compatible_types(a, b, false)); // open types
    tp->type_frozen(a);
    tp->type_frozen(b);
    EXPECT_TRUE(compatible_types(a, b, true));
    EXPECT_TRUE(compatible_types(tp->mk_ptr(a), tp->mk_ptr(b), true));
    TYPE* u = tp->mk_union("s", 32, 32, false, 0, true, false, false);
    EXPECT_FALSE(compatible_types(a, tp->type_frozen(u), false));

    TYPE* open_array = tp->mk_array(i, false);
    EXPECT_TRUE(compatible_types(open_array, tp->mk_array(i, 4, false), false));
    EXPECT_FALSE(compatible_types(open_array, tp->mk_array(i, 4, false), true));
    EXPECT_FALSE(compatible_types(tp->mk_array(i, 4, false), tp->mk_vector(i, false, 4), false));

    TYPE* old_style = make_func(i, {}, false);
    EXPECT_TRUE(compatible_types(old_style, make_func(i, {i}), false));
    EXPECT_FALSE(compatible_types(old_style, make_func(i, {tp->short_type()}), false));
    EXPECT_FALSE(compatible_types(old_style, make_func(i, {i}, true, true), false));
    EXPECT_FALSE(compatible_types(make_func(i, {i}), make_func(i, {i, i}), false));
}

TEST_F(Types, MachineTypes) {
    adopt_front_end_model();
    TYPE* i = tp->int_type();
    EXPECT_TRUE(equiv_mtypes(i, tp->long_type()));
    EXPECT_FALSE(equiv_mtypes(i, tp->uint_type()));
    EXPECT_TRUE(equiv_mtypes(tp->mk_qual(i, QUAL_CONST), i));
    TYPE* e = tp->mk_enum("e", i, false);
    EXPECT_TRUE(equiv_mtypes(tp->type_frozen(e), i));
    EXPECT_TRUE(equiv_mtypes(tp->mk_ptr(i), tp->mk_ptr(tp->char_type())));
    EXPECT_FALSE(equiv_mtypes(tp->mk_ptr(i), tp->mk_ptr(make_func(i, {}))));
    EXPECT_TRUE(equiv_mtypes(make_struct("a", {i, i}), make_struct("b", {i, tp->long_type()})));
    EXPECT_FALSE(equiv_mtypes(make_struct("a", {i, i}), make_struct("b", {i, tp->uint_type()})));
}

TEST_F(Types, Promotions) {
    adopt_front_end_model();
    TYPE *i = tp->int_type(), *u = tp->uint_type(), *ll = tp->llong_type(), *l = tp->long_type(),
         *ul = tp->ulong_type();
    EXPECT_EQ(promoted_type(tp->bool_type()), i);
    EXPECT_EQ(promoted_type(tp->char_type()), i);
    EXPECT_EQ(promoted_type(tp->ushort_type()), i);
    kr_flag = 1;
    EXPECT_EQ(promoted_type(tp->ushort_type()), u);
    kr_flag = 0;
    EXPECT_EQ(promoted_type(tp->mk_int(TYPE::I_INT, true)), i);
    EXPECT_EQ(tp->c_integral_promotions(tp->uchar_type()), i);
    EXPECT_EQ(tp->c_integral_promotions(u), u);
    EXPECT_EQ(tp->c_integral_promotions(tp->bool_type()), tp->bool_type());

    EXPECT_EQ(combined_type_for_types(i, u), u);
    EXPECT_EQ(combined_type_for_types(l, u), ul); // of one size
    EXPECT_EQ(combined_type_for_types(ll, ul), ll);
    EXPECT_EQ(combined_type_for_types(tp->char_type(), tp->ushort_type()), i);
    EXPECT_EQ(combined_type_for_types(tp->mk_qual(tp->double_type(), QUAL_CONST), i), tp->double_type());
    TYPE* p = tp->mk_ptr(i);
    EXPECT_EQ(combined_type_for_types(i, p), p);

    EXPECT_EQ(tp->c_usual_arith_conv(i, u), u);
    EXPECT_EQ(tp->c_usual_arith_conv(u, ll), ll);
    EXPECT_EQ(tp->c_usual_arith_conv(i, p), p);
    EXPECT_EQ(tp->c_usual_arith_conv(tp->float_type(), tp->double_type()), tp->double_type());

    EXPECT_EQ(next_wider_type(tp->uchar_type()), i);
    EXPECT_EQ(next_wider_type(u), ll);
    EXPECT_EQ(next_wider_type(ll), ll);
    EXPECT_EQ(next_wider_type(tp->float_type()), tp->double_type());
    EXPECT_EQ(essential_type(u), i);
    EXPECT_EQ(tp->mk_signed(tp->bool_type())->size(), 16u);
    EXPECT_EQ(tp->mk_unsigned(tp->mk_qual(i, QUAL_PACKED))->align(), 16u);
    TYPE* odd = tp->mk_int(TYPE::I_INT, false, 24, 8);
    EXPECT_EQ(tp->mk_unsigned(odd)->size(), 24u);
    EXPECT_TRUE(tp->mk_unsigned(odd)->is_unsigned());
    EXPECT_EQ(odd->size_in_bytes(), 1u);
    EXPECT_EQ(odd->storage_size(), 32u);
}

TEST_F(Types, LimitsAndTruncation) {
    adopt_front_end_model();
    TYPE *c = tp->char_type(), *ull = tp->ullong_type(), *ll = tp->llong_type();
    EXPECT_EQ(int_type_max(c), INT65(32767));
    EXPECT_EQ(int_type_min(c), INT65(-32768));
    EXPECT_EQ(int_type_max(ull), INT65(~0ull));
    EXPECT_EQ(int_type_min(ll), INT65(INT64_MIN));
    EXPECT_EQ(int_type_min(ull), INT65(0));
    EXPECT_EQ(int_type_max(tp->bool_type()), INT65(1));
    EXPECT_EQ(truncate_to_type(INT65(0x18000), c), INT65(-32768));
    EXPECT_EQ(truncate_to_type(INT65(-1), tp->uchar_type()), INT65(65535));
    EXPECT_EQ(truncate_to_type(INT65(-2), tp->void_ptr), INT65(0xfffffffeu));
    EXPECT_EQ(sign_extend_by_type_size(INT65(0xffff), tp->uchar_type()), INT65(-1));
    EXPECT_FALSE(value_fits_in_type(INT65(32768), c));
    EXPECT_TRUE(value_fits_in_type(INT65(65535), tp->ushort_type()));
}

TEST_F(Types, StructQueries) {
    TYPE* i = tp->int_type();
    TYPE* inner = make_struct("inner", {i});
    TYPE* outer = make_struct("outer", {i, tp->mk_array(inner, 2, false)});
    EXPECT_TRUE(struct_contains_struct(outer, tp->mk_qual(inner, QUAL_CONST)));
    EXPECT_FALSE(struct_contains_struct(inner, outer));
    EXPECT_FALSE(struct_contains_struct(make_struct("p", {tp->mk_ptr(inner)}), inner));
    EXPECT_EQ(struct_nesting(outer), 2u);
    TYPE* flex = make_struct("flex", {i, tp->mk_array(i, 0, 0, 32, false, false)});
    EXPECT_TRUE(flex->has_flex_array_member(false));
    EXPECT_FALSE(make_struct("holder", {flex, i})->has_flex_array_member(false));
    EXPECT_TRUE(make_struct("holder", {flex, i})->has_flex_array_member(true));
    EXPECT_TRUE(tp->mk_vpred(i)->is_vpred());
    EXPECT_EQ(tp->mk_vpred(i), tp->mk_vpred(i));
    EXPECT_EQ(tp->replace_array_elem(tp->mk_array(tp->mk_array(i, 2, false), 3, false), i, tp->short_type()),
              tp->mk_array(tp->mk_array(tp->short_type(), 2, false), 3, false));
}

TEST_F(Types, Printing) {
    TYPE* i = tp->int_type();
    TYPE* f = make_func(i, {tp->mk_ptr(tp->mk_qual(tp->char_type(), QUAL_CONST))}, true, true);
    EXPECT_EQ(tp->mk_ptr(f)->print(), "int (*)(const char *, ...)");
    EXPECT_EQ(tp->mk_ptr(tp->mk_array(i, 3, false))->print(), "int (*)[3]");
    EXPECT_EQ(tp->mk_array(tp->mk_ptr(i), 3, false)->print(), "int *[3]");
    EXPECT_EQ(tp->mk_vector(i, false, 4)->print(), "int<[4]>");
    EXPECT_EQ(tp->mk_int(TYPE::I_CHAR, true)->print(), "char [ExplSign]");
    EXPECT_EQ(make_struct("s", {i})->printstr(true), "struct s { off:  0 int m; }");
}

TEST_F(Types, FakeNamesStayUnique) {
    TYPE* t = tp->mk_struct("$$fake41");
    TYPE* u = tp->mk_struct("");
    EXPECT_TRUE(is_fake_name(u->name()));
    EXPECT_STRNE(t->name(), u->name());
    EXPECT_EQ(make_fake_name(), "$$fake43");
    EXPECT_EQ(tp->type_frozen(u)->map_name(), "$$fakestruct");
}

TEST_F(Types, DeletingUnlinksFromTheBase) {
    TYPE* i = tp->int_type();
    uint32_t before = i->based_count;
    TYPE* a = tp->mk_array(i, 77, false);
    tp->mk_ptr(a);
    tp->delete_type_tree(a, true, true);
    EXPECT_EQ(i->based_count, before);
    EXPECT_EQ(tp->mk_array(i, 77, false)->elem_count(), 77u);
}

TEST_F(TypesDeath, Faults) {
    TYPE* i = tp->int_type();
    auto dies = [](const char* text) { return std::string("TP>> internal error: ") + text; };
    EXPECT_EXIT(i->getr(TYPE::K_POINTER), testing::ExitedWithCode(1), dies("Bad kind:  TYPE::getr\\(\\)"));
    EXPECT_EXIT(i->elem_type(), testing::ExitedWithCode(1), dies("orphan type:  TYPE::elem_type\\(\\)"));
    EXPECT_EXIT(tp->add_param(make_func(i, {}), {i, 0, ""}), testing::ExitedWithCode(1), dies("Modifying frozen type"));
    EXPECT_EXIT(tp->c_usual_arith_conv(i, make_struct("s", {})), testing::ExitedWithCode(1), dies("Bad type:"));
    TYPE* based = tp->mk_array(i, 2, false);
    tp->mk_ptr(based);
    EXPECT_EXIT(tp->delete_type_tree(based, false, true), testing::ExitedWithCode(1), dies("Nonrecusive type tree"));
    auto deep = [i] {
        TYPE* t = i;
        for (int n = 0; n < 100000; n++) t = tp->mk_ptr(t);
    };
    EXPECT_EXIT(deep(), testing::ExitedWithCode(1), dies("type nested too deeply"));
    TYPE* s = tp->mk_struct("s");
    tp->add_member(s, std::make_unique<fkMDATA>("m", s, 0, 0, false));
    EXPECT_EXIT(struct_nesting(s), testing::ExitedWithCode(1), dies("struct type that contains itself"));
}

} // namespace
