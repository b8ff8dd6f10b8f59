#include "cross.h"

#include "exec.h"
#include "gen.h"
#include "ir/opt_expr.h"

#include <bit>
#include <cstring>
#include <memory>

namespace {

// A program round the tree: main copies the locals' start values from globals, stores the tree's value, and copies the
// locals back; _ext and _get do what a call does in the evaluator. Everything that main leaves is read from memory.
class PROGRAM_OF_TREE {
  public:
    explicit PROGRAM_OF_TREE(const NODE* tree) {
        unit_.files = {"tree"};
        for (const VARIABLE& v : world.variables)
            if (!v.is_local) unit_.globals.push_back(v.symbol); // aggregates first: their addresses are the world's
        for (const VARIABLE& v : world.variables)
            if (v.is_local) twin_[&v] = global(v.symbol->name, v.symbol->otype->type_qualified());
        trace_ = global("trace", tp->mk_array(tp->uint_type(), trace_size, trace_size * 32, 32, false));
        count_ = global("count", tp->uint_type());
        salt_ = global("salt", tp->uint_type());
        KIND k = kind_of_type(tree->type);
        result_ = global("result", world.type_of[is_scalar(k) ? k : K_W]);
        define(world.function, true);
        define(world.getter, false);
        make_main(tree, k);
    }

    UNIT& unit() { return unit_; }
    std::unordered_map<const VARIABLE*, SYMTAB*> twin_;
    SYMTAB *trace_, *count_, *salt_, *result_;

  private:
    static constexpr uint32_t trace_size = 128;
    UNIT unit_;

    SYMTAB* global(const std::string& name, TYPE* type) {
        SYMTAB* s =
            new SYMTAB(("_x_" + name).c_str(), type->size(), 0, SC_STATIC, 0, type, type, type->align(), nullptr, 0);
        s->level = 0;
        unit_.globals.push_back(s);
        return s;
    }
    static SYMTAB* local(const char* name, TYPE* type, uint8_t sclass, uint8_t level) {
        SYMTAB* s = new SYMTAB(name, type->size(), 0, sclass, 0, type, type, type->align(), nullptr, 0);
        s->level = level;
        return s;
    }
    static NODE* name(SYMTAB* s) { return mk_NAME(s); }
    static NODE* u(uint32_t v) { return mk_ICON(INT65(v), tp->uint_type()); }
    static NODE* bin(int op, NODE* a, NODE* b) { return maketree(op, a, b, a->type->type_qualified()); }
    static NODE* element(SYMTAB* array, NODE* units) {
        TYPE* element_type = array->type->elem_type();
        TYPE* pointer = tp->mk_ptr(element_type);
        return mk_UMULT(maketree(PLUS, mk_UAND(name(array), pointer), units, pointer), element_type);
    }
    static void add(SOURCE_FUNCTION& f, NODE* tree) {
        f.statements.push_back({STATEMENT::TREE, false, 0, tree, nullptr});
    }

    void define(SYMTAB* function, bool has_parameters) {
        unit_.globals.push_back(function);
        SOURCE_FUNCTION f{function, {}, {}, {}, nullptr, nullptr};
        const char* const names[] = {"p", "q"};
        if (has_parameters) {
            NODE* prolog = nullptr;
            for (const char* n : names) {
                f.params.push_back(local(n, tp->int_type(), SC_PARM_REG, 1));
                f.locals.push_back(local(n, tp->int_type(), SC_AUTO, 2));
                NODE* asg = mk_ASG(name(f.locals.back()), name(f.params.back()));
                prolog = prolog == nullptr ? asg : maketree(PCOMMA, prolog, asg, tp->void_type);
            }
            add(f, prolog);
        }
        SYMTAB* hash = local("hash", tp->uint_type(), SC_AUTO, 2);
        uint32_t tag = static_cast<uint32_t>(call_event) + (has_parameters ? 1 : 0);
        auto record = [&](NODE* word) {
            add(f, mk_ASG(element(trace_, bin(MULT, name(count_), u(2))), word));
            add(f, maketree(PLUSASG, name(count_), u(1), tp->uint_type()));
        };
        record(u(tag));
        NODE* sum = bin(PLUS, name(salt_), u(tag));
        for (size_t i = 0; i < f.params.size(); i++) {
            record(mk_SCONV(name(f.locals[i]), tp->uint_type()));
            sum = bin(XORB, sum, bin(MULT, mk_SCONV(name(f.locals[i]), tp->uint_type()), u(call_factor(i + 1))));
        }
        f.locals.push_back(hash);
        add(f, mk_ASG(name(hash), sum));
        SYMTAB* changed = world.variables[static_cast<size_t>(world.changed_by_calls)].symbol;
        add(f, mk_ASG(name(changed), mk_SCONV(bin(PLUS, bin(MULT, name(hash), u(5)), u(1)), tp->int_type())));
        SYMTAB* ints = world.variables[static_cast<size_t>(world.ints)].symbol;
        add(f, maketree(XORBASG, element(ints, mk_ICON(2, tp->int_type())),
                        mk_SCONV(bin(ANDB, name(hash), u(0xFFFF)), tp->int_type()), tp->int_type()));
        NODE* arms = maketree(COLON, mk_SCONV(name(hash), tp->int_type()),
                              mk_SCONV(bin(ANDB, name(hash), u(7)), tp->int_type()), tp->int_type());
        NODE* value = maketree(QUEST, bin(SRL, name(hash), u(31)), arms, tp->int_type());
        add(f, maketree(RETURN, name(function), value, tp->int_type()));
        unit_.functions.push_back(std::move(f));
    }

    void make_main(const NODE* tree, KIND k) {
        static SYMTAB* main_symbol = [] {
            TYPE* type = tp->mk_func(tp->int_type(), false, false, true, 0);
            tp->type_frozen(type);
            SYMTAB* s = new SYMTAB("_main", 0, 0, SC_EXTERN_DEF, 0, type, type, 0, nullptr, 0);
            s->level = 0;
            return s;
        }();
        unit_.globals.push_back(main_symbol);
        SOURCE_FUNCTION f{main_symbol, {}, {}, {}, nullptr, nullptr};
        for (const VARIABLE& v : world.variables)
            if (v.is_local) {
                f.locals.push_back(v.symbol);
                add(f, mk_ASG(name(v.symbol), name(twin_[&v])));
            }
        NODE* value = copy_tree(tree);
        add(f, is_scalar(k) ? mk_ASG(name(result_), value) : value);
        for (const VARIABLE& v : world.variables)
            if (v.is_local) add(f, mk_ASG(name(twin_[&v]), name(v.symbol)));
        add(f, maketree(RETURN, name(main_symbol), mk_ICON(0, tp->int_type()), tp->int_type()));
        unit_.functions.push_back(std::move(f));
    }
};

bool same_units(const uint16_t* a, const uint16_t* b, const VARIABLE& v, const char*& how) {
    if (is_float_kind_of(v.kind)) { // any NaN is as good as any other
        if (v.kind == K_D) {
            double x, y;
            memcpy(&x, a, 8), memcpy(&y, b, 8);
            if (x != x && y != y) return true;
        } else {
            float x, y;
            memcpy(&x, a, 4), memcpy(&y, b, 4);
            if (x != x && y != y) return true;
        }
    }
    how = v.symbol->name;
    return memcmp(a, b, v.units * 2) == 0;
}

} // namespace

std::string cross_check(const NODE* tree, uint64_t seed, int inputs, uint64_t& compared) {
    CODE code(tree);
    PROGRAM_OF_TREE source(tree);
    PROGRAM program;
    MEMORY memory;
    PROGRAM_GEN gen(source.unit(), program, memory, GEN_OPTIONS());
    try {
        gen.compile();
    } catch (const BAD_FILE& bad) { return "the interpreter refuses the tree: " + bad.text; }
    auto place_of = [&](const VARIABLE& v) { return gen.global_of(v.is_local ? source.twin_[&v] : v.symbol).at; };
    for (int object : {world.ints, world.chars, world.record})
        if (place_of(world.variables[static_cast<size_t>(object)]) != world.variables[static_cast<size_t>(object)].at)
            return "the interpreter places the objects elsewhere";
    for (const INPUT& input : make_inputs(code, seed, inputs)) {
        OUTCOME expected;
        IMAGE image = input.memory;
        code.run(image, input.salt, true, expected);
        if (expected.undefined != nullptr) continue;
        for (const VARIABLE& v : world.variables) {
            memcpy(memory.units + place_of(v), &input.memory[v.at - first_address], v.units * 2);
            memory.set_state(place_of(v), v.units, UNIT_VALUE);
        }
        memory.write_n(gen.global_of(source.salt_).at, static_cast<uint32_t>(input.salt), 2);
        memory.write_n(gen.global_of(source.count_).at, 0, 2);
        try {
            VM(program, memory, VM_OPTIONS()).run_main({"tree"});
        } catch (const TRAPPED& t) { return "the interpreter stops: " + t.text; }
        compared++;
        std::string on = " on " + input_text(code, input);
        KIND k = code.kind();
        if (is_scalar(k)) {
            VARIABLE v{source.result_, k, first_address, bits_of_kind(k) / 16, false, false};
            IMAGE got{}, want{};
            memcpy(got.data(), memory.units + gen.global_of(source.result_).at, v.units * 2);
            uint64_t bits = k == K_D   ? std::bit_cast<uint64_t>(expected.value.f)
                            : k == K_F ? std::bit_cast<uint32_t>(static_cast<float>(expected.value.f))
                                       : static_cast<uint64_t>(expected.value.i);
            memcpy(want.data(), &bits, v.units * 2);
            const char* which = nullptr;
            if (!same_units(got.data(), want.data(), v, which)) return "the values differ" + on;
        }
        for (const VARIABLE& v : world.variables) {
            const char* which = nullptr;
            if (!same_units(memory.units + place_of(v), &image[v.at - first_address], v, which))
                return std::string("the variable ") + which + " differs" + on;
        }
        if (memory.read32(gen.global_of(source.count_).at) != expected.trace.size()) return "the calls differ" + on;
        for (size_t i = 0; i < expected.trace.size(); i++)
            if (memory.read32(gen.global_of(source.trace_).at + 2 * static_cast<uint32_t>(i)) !=
                static_cast<uint32_t>(expected.trace[i]))
                return "the calls differ" + on;
    }
    return "";
}
