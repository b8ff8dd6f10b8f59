#include "icode/if.h"
#include "ir/types.h"

#include <cstdlib>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <unistd.h>

namespace {

struct NO_CLIENT : IF_CLIENT {
    SYMTAB* cl_symbol_create(const char*, TYPE*, TYPE*, uint32_t, uint32_t, uint32_t, uint8_t, uint16_t, PSN*, uint32_t,
                             uint32_t) override {
        return nullptr;
    }
};

// One file at a time, written and read back, each side with a package of its own.
class TypeRecords : public ::testing::Test {
  protected:
    void SetUp() override {
        char name[] = "/tmp/nx_type_records_XXXXXX";
        close(mkstemp(name));
        path = name;
        fresh_package();
    }
    void TearDown() override {
        if (file != nullptr) file->if_discard();
        tp_release();
        unlink(path.c_str());
    }
    void fresh_package() {
        tp_release();
        tp_alloc()->init_type_pkg();
        init_types();
    }
    void create() { file = if_create(fopen(path.c_str(), "wb"), tp, "test"); }
    void close_file() {
        ASSERT_EQ(file->if_close(true, false), 0);
        file = nullptr;
    }
    // Reads the type section into a fresh package. With a version the file counts as one of that version.
    void read(int version = icode_version) {
        fresh_package();
        file = if_open(fopen(path.c_str(), "rb"), &client);
        ASSERT_NE(file, nullptr);
        file->version = version;
        file->if_type_init(tp);
        ASSERT_NE(file->type_offset, 0u);
        file->if_read_type_defs();
    }
    // A file whose type section `fill` writes record by record.
    void write_raw(const std::function<void()>& fill) {
        fresh_package(); // of its own accord the writer adds what an earlier file defined
        create();
        file->i_write_eof();
        file->type_offset = static_cast<uint32_t>(file->if_tell());
        fill();
        file->i_write_eof();
        close_file();
    }
    // A record 116 of unsigned fields, an i8 or bool being one too while it is below 128.
    void record(uint32_t n, int k, std::initializer_list<uint32_t> fields = {}, const char* name = nullptr,
                std::initializer_list<uint32_t> behind = {}) {
        file->i_write_uint(n);
        file->i_write_i8(k);
        for (uint32_t x : fields) file->i_write_uint(x);
        if (name != nullptr) file->i_write_string(name);
        for (uint32_t x : behind) file->i_write_uint(x);
        file->i_flush(REC_TYPE);
    }
    void list(uint32_t n, int kind, bool end) {
        file->i_write_uint(n);
        file->i_write_i8(end ? 255 : 254);
        file->i_write_i8(kind);
        file->i_flush(REC_TYPE);
    }
    void int_record(uint32_t n) { record(n, 6, {0, 32, 32, 0, 0}); }

    std::string path;
    I_FILE* file = nullptr;
    NO_CLIENT client;
};
using TypeRecordsDeath = TypeRecords;

std::string describe(TYPE* t) {
    std::string s = t->print(false, true) + " size " + std::to_string(t->size()) + " align " +
                    std::to_string(t->align()) + " cpp " + std::to_string(t->cpp) + " complete " +
                    std::to_string(t->is_complete()) + " lowered " + std::to_string(t->is_lowered()) + " marks " +
                    std::to_string(t->mark_a * 4 + t->mark_b * 2 + t->mark_c) + " quals " +
                    std::to_string(t->qual_kind());
    if (t->func != nullptr) s += " cc " + std::to_string(t->func->cc_kind) + " proto " + std::to_string(t->func->proto);
    if (t->enumeration != nullptr)
        for (auto& e : t->enumeration->etors)
            s += " " + e.name + "=" + int65_to_text(e.value) + "@" + std::to_string(e.psn != nullptr ? e.psn->line : 0);
    if (t->csu == nullptr) return s;
    const CSU_PART& c = *t->csu;
    s += " word " + std::to_string(c.class_word) + " vector " + std::to_string(c.is_struct_vector);
    for (auto& m : c.members)
        s += " m" + std::to_string(m->id) + ":" + std::to_string(m->bit_size) + "," + std::to_string(m->access) + "," +
             m->attribute_text + "," + std::to_string(m->mark[0] * 2 + m->mark[1]);
    for (auto& b : c.base_classes)
        s += " base " + b.type->print() + std::to_string(b.offset) + std::to_string(b.access) +
             std::to_string(b.is_virtual);
    for (auto& a : c.access_decls) s += " access " + std::to_string(a.access);
    for (auto& x : c.friend_funcs) s += " ff " + x.name + " " + x.type->print();
    for (auto& x : c.friend_classes) s += " fc " + x.type->print();
    for (auto& x : c.nested_types) s += " nt " + x.type->print();
    for (auto& x : c.static_data) s += " sd " + x.name + x.type->print() + std::to_string(x.access);
    for (auto& x : c.member_funcs)
        s += " mf " + x.name + x.type->print() + std::to_string(x.virtual_index) + std::to_string(x.mark[2]);
    for (auto& x : c.template_params) s += " tp " + x.name + std::to_string(x.kind);
    return s;
}

// One typedef for each thing that must survive; typedefs are how the reader's side finds them again.
std::vector<TYPE*> make_one_of_each() {
    TYPE *i = tp->int_type(), *v = tp->void_type;
    std::vector<TYPE*> all;
    for (TYPE* t : tp->ints) all.push_back(t);
    for (TYPE* t : tp->floats) all.push_back(t);
    all.push_back(v);
    all.push_back(tp->mk_int(TYPE::I_LLONG, false, 64, 64));
    all.push_back(tp->mk_int(TYPE::I_CHAR, true, 16, 16));
    all.push_back(tp->mk_boolean_int(i));
    all.push_back(tp->mk_ptm_int(i));
    all.push_back(tp->mk_fxtpt(i, 15));
    all.push_back(tp->mk_complex(tp->float_type()));
    all.push_back(tp->mk_ptr(i, 32, 32));
    all.push_back(tp->mk_ref(i, 32, 32));
    all.push_back(tp->mk_qual(i, QUAL_CONST | QUAL_VOLATILE));
    all.push_back(tp->mk_array(i, 10, false));
    all.push_back(tp->mk_array(i, 0, 0, 32, false, false));
    all.push_back(tp->mk_vector(i, false, 4));
    all.push_back(tp->mk_typedef("inner", true, tp->mk_ptr(i), true));

    TYPE* e = tp->mk_enum("colour", i, 32, 32, false);
    tp->add_etor(e, {"red", INT65(-5), new PSN("a.c", 7, 1)});
    tp->add_etor(e, {"blue", INT65(300), nullptr});
    all.push_back(tp->type_frozen(e));
    TYPE* ue = tp->mk_enum("wide", tp->uint_type(), 32, 32, true);
    tp->add_etor(ue, {"top", INT65(0xfffffff0u), nullptr});
    all.push_back(tp->type_frozen(ue));

    TYPE* f = tp->mk_func(i, false, true, true, 3);
    tp->add_param(f, {i, 0, ""});
    tp->add_param(f, {tp->mk_ptr(e), 2, "kept"});
    all.push_back(tp->type_frozen(f));
    TYPE* self = tp->mk_func(v, false, false, true, 0);
    tp->add_param(self, {tp->mk_ptr(self), 0, ""});
    all.push_back(tp->type_frozen(self));

    TYPE* node = tp->mk_struct("node", 96, 32, false, 0, true, true, false);
    TYPE* uni = tp->mk_union("uni", 32, 32, false, 0, true, false, true);
    auto member = [](TYPE* owner, const char* name, TYPE* t, int32_t offset, uint32_t bits, bool field) {
        fkMDATA* m = tp->add_member(owner, std::make_unique<fkMDATA>(name, t, offset, bits, field));
        m->mark[1] = field;
        return m;
    };
    member(node, "next", tp->mk_ptr(node, 32, 32), 0, 32, false);
    fkMDATA* tagged = member(node, "u", uni, 32, 32, false);
    tagged->attribute = 0x1a;
    tagged->attribute_text = "fti:1a";
    member(node, "bits", tp->uint_type(), 67, 5, true);
    member(uni, "i", i, 0, 32, false);
    all.push_back(tp->type_frozen(node));
    all.push_back(tp->type_frozen(uni));
    TYPE* ahead = tp->mk_struct("ahead", 0, 0, false, 0, false, false, false);
    all.push_back(tp->type_frozen(ahead));

    TYPE* cls = tp->mk_class("Cls", 64, 32, true, 0x51, true, false, false);
    CSU_PART& c = *cls->csu;
    c.base_classes.push_back({node, -32, 1, true});
    c.access_decls.push_back({2});
    c.friend_funcs.push_back({"ff", f});
    c.friend_classes.push_back({node});
    c.nested_types.push_back({e});
    c.static_data.push_back({"sd", i, 1});
    c.member_funcs.push_back({"mf", f, 1, -1, {false, false, true, false}});
    c.template_params.push_back({i, 3, "T"});
    member(cls, "m", i, 0, 32, false);
    all.push_back(tp->type_frozen(cls));
    all.push_back(tp->mk_ptm(i, cls, 32, 32));
    return all;
}

TEST_F(TypeRecords, EveryKindSurvives) {
    std::map<std::string, std::string> wanted;
    create();
    for (TYPE* t : make_one_of_each()) {
        std::string name = "k" + std::to_string(wanted.size());
        wanted[name] = describe(t);
        file->if_reference_type(tp->mk_typedef(name.c_str(), false, t, false));
    }
    close_file();
    read();
    std::map<std::string, std::string> found;
    TYPE_PKG::root_type->for_each_based([&](TYPE* t) {
        if (t->tdef != nullptr && t->tdef->name[0] == 'k') found[t->tdef->name] = describe(t->tdef->type_named);
    });
    EXPECT_EQ(found, wanted);

    // Types that were read are written again although nothing names them, and then nothing changes any more.
    auto write_again = [this] {
        create();
        close_file();
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    file->if_discard();
    write_again();
    read();
    file->if_discard();
    std::string second = write_again();
    read();
    file->if_discard();
    EXPECT_EQ(write_again(), second);
}

TEST_F(TypeRecords, BasicTypesOfTheFileRule) {
    write_raw([this] {
        record(1, 50, {0, 64, 64, 0, 0});
        record(2, 11, {64, 64});
        record(3, 49);
        record(4, 15, {3, 32, 32});
        record(5, 0, {0, 16, 16, 1, 0});
        record(6, 6, {0, 16, 16, 0, 1}); // marked: not the basic int
    });
    read();
    EXPECT_EQ(tp->llong_type(), file->find_typeref(1));
    EXPECT_EQ(tp->double_type(), file->find_typeref(2));
    EXPECT_EQ(tp->double_type()->normalized()->size(), 64u);
    EXPECT_EQ(tp->void_ptr, file->find_typeref(4));
    EXPECT_EQ(tp->bool_type()->size(), 16u);
    EXPECT_EQ(tp->int_type()->size(), 32u);
    // The model goes out again although no symbol uses it.
    file->if_discard();
    create();
    close_file();
    read();
    EXPECT_EQ(tp->llong_type()->size(), 64u);
    EXPECT_EQ(tp->double_type()->size(), 64u);
    EXPECT_EQ(tp->void_ptr->size(), 32u);
    EXPECT_EQ(tp->bool_type()->size(), 16u);
}

TEST_F(TypeRecords, FieldsOfOlderVersions) {
    struct CASE {
        int version;
        bool struct_vector, csu_cpp, attribute, first_layout;
    };
    for (CASE c : {CASE{-86, false, false, false, true}, CASE{-85, false, false, false, false},
                   CASE{-84, true, false, false, false}, CASE{-81, true, true, false, false},
                   CASE{-75, true, true, false, false}, CASE{-74, true, true, true, false}}) {
        write_raw([&] {
            int_record(1);
            file->i_write_uint(2);
            file->i_write_i8(24);
            file->i_write_i8(1);
            file->i_write_string("u");
            for (int x : {1, 0, 32, 32, 1}) file->i_write_i8(x);
            if (c.struct_vector) file->i_write_bool(true);
            if (c.csu_cpp) file->i_write_bool(true);
            file->i_write_i8(0); // no position
            file->i_flush(REC_TYPE);
            list(2, 7, false);
            file->i_write_uint(2);
            file->i_write_i8(28);
            file->i_write_uint(9); // an id that is no position
            file->i_write_string("m");
            for (int x : {1, 2, 3}) file->i_write_i8(x); // type, access, offset
            if (c.attribute) file->i_write_i8(0x1f);
            if (c.first_layout) {
                for (int x : {1, 5, 1}) file->i_write_i8(x); // field, bits, second flag
            } else {
                for (int x : {5, 1, 1, 0}) file->i_write_i8(x);
            }
            file->i_write_i8(0);
            file->i_flush(REC_TYPE);
            list(2, 7, true);
        });
        read(c.version);
        TYPE* u = file->find_typeref(2);
        fkMDATA* m = file->find_mdataref(2, 9);
        ASSERT_NE(m, nullptr);
        EXPECT_EQ(u->csu->old_union, c.version < -80);
        EXPECT_EQ(u->csu->is_struct_vector, c.struct_vector);
        EXPECT_EQ(u->cpp, c.csu_cpp);
        EXPECT_EQ(m->id, 1u);
        EXPECT_EQ(m->bit_offset, 3);
        EXPECT_EQ(m->bit_size, 5u);
        EXPECT_TRUE(m->is_bitfield);
        EXPECT_TRUE(m->mark[0]);
        EXPECT_FALSE(m->mark[1]);
        EXPECT_EQ(m->attribute_text, c.attribute ? "fti:1f" : "");
        EXPECT_EQ(file->find_mdataref(2, 1), nullptr);
        file->if_discard();
        file = nullptr;
    }
}

TEST_F(TypeRecords, ArrayFlagsByVersion) {
    for (int version : {-77, -76, -75, -74, -73}) {
        write_raw([&] {
            int_record(1);
            for (uint32_t n : {2u, 3u}) {
                file->i_write_uint(n);
                file->i_write_i8(18);
                for (int x : {1, 4, 64, 32, 0, 1}) file->i_write_i8(x);
                if (version >= -76) file->i_write_bool(n == 3);
                if (version == -75 || version == -74) file->i_write_bool(n == 2);
                file->i_flush(REC_TYPE);
            }
        });
        read(version);
        EXPECT_FALSE(file->find_typeref(2)->is_vector()) << version;
        EXPECT_EQ(file->find_typeref(3)->is_vector(), version >= -76) << version;
        file->if_discard();
        file = nullptr;
    }
}

TEST_F(TypeRecords, EqualFunctionTakesTheOlderPlace) {
    write_raw([this] {
        int_record(1);
        for (uint32_t n : {2u, 3u}) {
            record(n, 20, {1, 0, 1, 0, 0});
            list(n, 0, false);
            record(n, 21, {1, 0, 0}, "");
            list(n, 0, true);
        }
        record(4, 24, {0}, "s", {1, 0, 0, 0, 0, 0, 0, 0});
    });
    read();
    EXPECT_EQ(file->find_typeref(3), file->find_typeref(2));
    EXPECT_NE(file->find_typeref(4)->uid, 0u); // no lists: final at its own record
}

TEST_F(TypeRecordsDeath, Faults) {
    struct CASE {
        const char* text;
        std::function<void()> fill;
    };
    auto function = [this](uint32_t n) { record(n, 20, {1, 0, 1, 0, 0}); };
    auto structure = [this](uint32_t n) { record(n, 24, {0}, "s", {1, 0, 32, 32, 1, 0, 0, 0}); };
    const CASE cases[] = {
        {"invalid forward reference",
         [&] {
             record(1, 15, {9, 32, 32});
         }},
        {"invalid forward reference",
         [&] {
             record(1, 15, {0xfffffff0u, 32, 32});
         }},
        {"read type twice", [&] { int_record(1), int_record(1); }},
        {"read type twice", [&] { int_record(0xfffffff0u), int_record(0xfffffff0u); }},
        {"Unexpected type attribute", [&] { int_record(1), list(1, 0, false); }},
        {"Unexpected type attribute", [&] { list(7, 0, false); }},
        {"Unexpected type attribute", [&] { int_record(1), function(2), list(2, 7, false); }},
        {"Unexpected type attribute",
         [&] {
             int_record(1), function(2), record(2, 21, {1, 0, 0}, "");
         }},
        {"Unexpected type attribute",
         [&] { int_record(1), function(2), list(2, 0, false), list(2, 0, true), list(2, 0, false); }},
        {"Duplicate function parameters", [&] { int_record(1), function(2), list(2, 0, false), list(2, 0, false); }},
        {"Duplicate enumerator attributes",
         [&] {
             int_record(1), record(2, 22, {}, "e", {32, 32, 1, 0, 0});
             list(2, 1, false), list(2, 1, false);
         }},
        {"Duplicate CSU attributes", [&] { structure(2), list(2, 7, false), list(2, 7, false); }},
        {"struct type that contains itself",
         [&] {
             structure(2), structure(3), list(2, 7, false);
             record(2, 28, {1}, "m", {3, 0, 0, 0, 32, 0, 0, 0, 0}), list(2, 7, true), list(3, 7, false);
             record(3, 28, {1}, "m", {2, 0, 0, 0, 32, 0, 0, 0, 0}), list(3, 7, true);
         }},
        {"type nested too deeply",
         [&] {
             int_record(1);
             for (uint32_t n = 2; n < 2000; n++) record(n, 15, {n - 1, 32, 32});
         }},
        {"a scalar type of impossible size",
         [&] {
             record(1, 6, {0, 0, 32, 0, 0});
         }},
        {"a scalar type of impossible size",
         [&] {
             record(1, 6, {0, 32, 24, 0, 0});
         }},
        {"a type without the type that it is made of",
         [&] {
             record(1, 15, {0, 32, 32});
         }},
        {"a bit-field that its type cannot hold",
         [&] {
             int_record(1), structure(2), list(2, 7, false);
             record(2, 28, {1}, "m", {1, 0, 0, 0, 33, 1, 0, 0, 0});
         }},
        {"a type record of unknown kind", [&] { record(1, 99); }},
    };
    for (const CASE& c : cases) {
        write_raw(c.fill);
        EXPECT_EXIT(read(), testing::ExitedWithCode(1), c.text);
        if (file != nullptr) file->if_discard();
        file = nullptr;
    }
}

} // namespace
