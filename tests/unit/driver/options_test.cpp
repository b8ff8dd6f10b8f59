#include "driver/option_sets.h"

#include "diag/diagnostic.h"
#include "driver/debug_switches.h"
#include "driver/filename.h"
#include "driver/global_flags.h"
#include "icode/if.h"
#include "ir/symbol.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

using WORDS = std::vector<std::string>;

class Options : public ::testing::Test {
  protected:
    void SetUp() override {
        words.clear();
        option_obj::next_arg = [] { return words.empty() ? nullptr : take(); };
    }
    void TearDown() override {
        reset_options();
        reset_global_flags();
        DIAGNOSTIC::reset();
        clear_debug_switches();
        currfunc = nullptr;
    }

    static const char* take() {
        static std::string word;
        word = words.front();
        words.erase(words.begin());
        return word.c_str();
    }
    bool given(const char* text) { return o.process_option(text); }
    WORDS exported() {
        WORDS texts;
        for (auto& [id, text] : o.export_option_pairs(EXPORT_ALL)) texts.push_back(text);
        return texts;
    }
    // The command line and the option sets of a file, as the driver brings them together.
    static void start_run(const WORDS& command_line, const std::vector<OPTION_SET>& sets = {}) {
        cmdline_options = new option_obj(true);
        for (const std::string& word : command_line)
            ASSERT_TRUE(cmdline_options->process_option(word.c_str() + 1)) << word;
        make_all_option_sets(sets);
        reset_global_flags();
        set_global_flags(file_options);
    }

    option_obj o;
    static WORDS words;
};
WORDS Options::words;

TEST_F(Options, ShortFlagsShareAWord) {
    EXPECT_TRUE(given("sK"));
    EXPECT_EQ(exported(), (WORDS{"--kr_compatible", "--optimizer_interlist"}));
}

TEST_F(Options, ShortArgumentsStandInTheWordOrBehindIt) {
    words = {"7", "next"};
    EXPECT_TRUE(given("n"));
    EXPECT_TRUE(given("i12"));
    EXPECT_TRUE(given("kO3"));
    EXPECT_TRUE(given("di"
                      "100"));
    EXPECT_EQ(exported(), (WORDS{"--auto_inline=12", "--gen_opt_info=7", "--interrupt_threshold=100", "--kr_compatible",
                                 "--opt_level=3"}));
    EXPECT_EQ(words, (WORDS{"next"}));
}

TEST_F(Options, LettersWithRulesOfTheirOwn) {
    EXPECT_TRUE(given("##v"));
    EXPECT_TRUE(given("hs"));
    EXPECT_TRUE(given("h0k"));
    EXPECT_EQ(o.getnumarg(OPT_print_debug), 2);
    for (option_id id : {OPT_keep_opt_ifile, OPT_volit_vars, OPT_std_lib_func_defined, OPT_optimizer_interlist,
                         OPT_std_lib_func_redefined, OPT_kr_compatible})
        EXPECT_TRUE(o.isset(id)) << id;
    EXPECT_FALSE(o.isset(OPT_silicon_version));
}

TEST_F(Options, LastNumberCountsListsGrow) {
    for (const char* text : {"-auto_inline=5", "-auto_inline=6", "-debug:a,b=2", "-debug:c", "-opt_level"})
        EXPECT_TRUE(given(text));
    EXPECT_EQ(exported(), (WORDS{"--auto_inline=6", "--debug:a,b=2", "--debug:c", "--opt_level=2"}));
    option_obj again;
    for (const std::string& word : exported()) EXPECT_TRUE(again.process_option(word.c_str() + 1));
    o = again;
    EXPECT_EQ(exported(), (WORDS{"--auto_inline=6", "--debug:a,b=2", "--debug:c", "--opt_level=2"}));
    o.clearopt(OPT_debug);
    EXPECT_EQ(o.getargcount(OPT_debug), 0u);
}

TEST_F(Options, NumbersHaveTheirRadix) {
    EXPECT_TRUE(given("-max_unrolled_loop_size=010"));
    EXPECT_TRUE(given("-gen_opt_info=0x10"));
    EXPECT_EQ(o.getnumarg(OPT_max_unrolled_loop_size), 8);
    EXPECT_EQ(o.getnumarg(OPT_gen_opt_info), 16);
}

// The place of the fault: the letter with which no long form goes on; in short forms one before the letter.
TEST_F(Options, WhatIsNoOption) {
    struct CASE {
        const char* word;
        long at;
    };
    for (CASE c :
         {CASE{"--nonsense", 5}, CASE{"--opt_leve=2", 10}, CASE{"--big_endian=1", 12}, CASE{"--big_endianx", 12},
          CASE{"--helpx", 6}, CASE{"-q", 0}, CASE{"-sq", 1}, CASE{"-d", 0}, CASE{"-kdx", 1}, CASE{"--", 2}}) {
        const char* at = nullptr;
        EXPECT_FALSE(o.process_option(c.word + 1, &at)) << c.word;
        EXPECT_EQ(at - c.word, c.at) << c.word;
    }
    EXPECT_TRUE(o.process_option(""));
}

TEST_F(Options, BadArgumentsEndTheRun) {
    struct CASE {
        const char *text, *message;
    };
    for (CASE c :
         {CASE{"-opt_for_speed=", "error: option --opt_for_speed is missing its parameter 'degree'"},
          CASE{"n", "error: option -n is missing its parameter 'level'"},
          CASE{"-debug:", "option --debug: is missing its parameter 'switches'"},
          CASE{"-opt_for_speed=6",
               "argument to option --opt_for_speed \\(6\\) is out of range \\(must be a number from 0 to 5\n"},
          CASE{"i-3", "argument to option -i \\(-3\\) is out of range \\(must be a non-negative_number\\)\n"},
          CASE{"-auto_inline=99999999999999999999", "is out of range\n"},
          CASE{"-auto_inline=2147483648", "is out of range\n"}, CASE{"-auto_inline=08", "\\(08\\) is out of range\n"},
          CASE{"-auto_inline=5x", "\\(5x\\) is out of range\n"},
          CASE{"-opt_level=5", "error: bad argument to option --opt_level: should be one of \\{off,0,1,2,3,4\\}\n"}})
        EXPECT_EXIT((given("-diag_wrap=off"), given(c.text)), ::testing::ExitedWithCode(1), c.message) << c.text;
    EXPECT_EXIT(report_invalid_option("--nonsense"), ::testing::ExitedWithCode(1),
                "--nonsense: error: option is invalid\n");
}

TEST_F(Options, HelpAndVersionDoNotReturn) {
    for (const char* text : {"-help", "-usage", "?", "-version", "-toolversion"})
        EXPECT_EXIT(((void)!freopen("/dev/null", "w", stdout), given(text)), ::testing::ExitedWithCode(0), "") << text;
}

TEST_F(Options, OtherCaseWarnsAndWorks) {
    EXPECT_TRUE(given("-diag_wrap=off"));
    testing::internal::CaptureStderr();
    EXPECT_TRUE(given("-Opt_Level=OFF"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "warning: Case insensitivity of options has been deprecated; --Opt_Level must be "
              "written as --opt_level in future releases\n");
    EXPECT_EQ(o.getnumarg(OPT_opt_level), OPT_LEVEL_OFF);
}

TEST_F(Options, QueriesWithoutOptions) {
    start_run({});
    EXPECT_EQ(opt_level(), 1);
    EXPECT_EQ(size_speed_goal(), 4);
    EXPECT_EQ(auto_inline(), 0);
    EXPECT_TRUE(fp_add_is_associative());
    EXPECT_FALSE(saturating_add_is_associative());
    EXPECT_FALSE(vectorize_is_on());
    EXPECT_EQ(alias_vars, 0);
    EXPECT_EQ(max_unrolled_loop_size, 195);
}

TEST_F(Options, QueriesAnswerFromTheOptions) {
    start_run({"--opt_level=3", "-z1", "--fp_reassoc=off", "--sat_reassoc=on", "--vectorize=on", "--fp_mode=relaxed",
               "--endian=big", "-t"});
    EXPECT_EQ(opt_level(), 3);
    EXPECT_EQ(size_speed_goal(), 2);
    EXPECT_EQ(auto_inline(), 20);
    EXPECT_FALSE(fp_add_is_associative());
    EXPECT_TRUE(saturating_add_is_associative());
    EXPECT_TRUE(vectorize_is_on());
    EXPECT_EQ(strict_fp, 0);
    EXPECT_EQ(memory_is_big_endian, 1);
    EXPECT_EQ(pointer_args_are_disjoint, 1);
    EXPECT_EQ(chars_alias_other_types, 0);
    EXPECT_EQ(loop_increments_are_not_zero, 1);
}

TEST_F(Options, LevelOffMeansZeroAndAliases) {
    start_run({"--opt_level=off", "-z9"});
    EXPECT_EQ(opt_level(), 0);
    EXPECT_EQ(size_speed_goal(), 0);
    EXPECT_EQ(alias_vars, 1);
    EXPECT_EQ(inhibit_clustering, 1);
}

// The parser lets no such value in; a set that was made inside might hold one.
TEST_F(Options, ValuesOutsideTheirListsAreFaults) {
    o.setopt(OPT_opt_level, 5L);
    EXPECT_EXIT(set_global_flags(&o), ::testing::ExitedWithCode(1), "--opt_level given invalid value: 5\n");
    o.clearopt(OPT_opt_level);
    o.setopt(OPT_size_speed_goal, 6L);
    EXPECT_EXIT(set_global_flags(&o), ::testing::ExitedWithCode(1), "--size_speed_goal given invalid value:  6\n");
}

TEST_F(Options, AFunctionHasItsOwnSet) {
    tp_alloc()->init_type_pkg();
    SYMTAB f("_f", 32, 0, SC_AUTO, 0, tp->int_type(), tp->int_type(), 32, nullptr, 7);
    std::vector<OPTION_SET> sets{{0, {"--opt_level=2", "--auto_inline=3"}}, {7, {"--opt_level=4", "--debug:a"}}};
    start_run({"--auto_inline=9", "--debug:b"}, sets);
    EXPECT_EQ(opt_level(), 2);
    currfunc = &f;
    EXPECT_EQ(opt_level(), 4);
    EXPECT_EQ(auto_inline(), 9); // the command line wins
    EXPECT_EQ(options_in_force()->getargcount(OPT_debug), 2u);
    f.option_set = 12345; // no such set: the file's
    EXPECT_EQ(opt_level(), 2);
    tp_release();
}

TEST_F(Options, RecordedOptionsMustBeOptions) {
    for (const char* word : {"--nonsense", "--help", "--version", "opt_level=2", "-?"})
        EXPECT_EXIT(make_all_option_sets({{3, {word}}}), ::testing::ExitedWithCode(1), "option set 3 of the input file")
            << word;
}

TEST_F(Options, ExperimentalFlagsNeedTheDebugLog) {
    start_run({"--aux_cmd_flag=3"});
    EXPECT_EQ(aux_cmd_flag[3], 0);
    reset_options();
    start_run({"-x3", "-#"});
    EXPECT_EQ(aux_cmd_flag[3], 1);
}

// ------------------------------------------------------------------------------------------------ switches

class Switches : public ::testing::Test {
  protected:
    void TearDown() override { clear_debug_switches(); }
};

TEST_F(Switches, AListOfNamesAndValues) {
    process_debug_option("debug", "a=2,b,c=0x10,d=010,e=");
    EXPECT_EQ(pass_debug("a"), 2);
    EXPECT_EQ(pass_debug("b"), 1);
    EXPECT_EQ(pass_debug("c"), 16);
    EXPECT_EQ(pass_debug("d"), 8);
    EXPECT_EQ(pass_debug("e"), 0);
    EXPECT_EQ(pass_debug("f"), 0);
    EXPECT_EQ(pass_enable("b"), 0);
    process_debug_option("debug", "a=3");
    EXPECT_EQ(pass_debug("a"), 3);
    EXPECT_EQ(debug_switch_count(), 5u);
    process_debug_option("disable", "x=0,y");
    EXPECT_FALSE(pass_disable("x"));
    EXPECT_TRUE(pass_disable("y"));
}

TEST_F(Switches, TheStoreIsSortedAndGrowsByHundreds) {
    for (int i = 0; i < 101; i++) {
        process_debug_option("debug", ("s" + std::to_string(i * 37 % 101)).c_str());
        EXPECT_EQ(debug_switch_capacity(), i < 100 ? 100u : 200u);
    }
    for (size_t i = 1; i < debug_switch_count(); i++)
        EXPECT_LT(strcmp(debug_switch_name(i - 1), debug_switch_name(i)), 0);
}

TEST_F(Switches, HandlesOfOneNameAreOneSwitch) {
    process_debug_option("debug", "unroll_MULTI=4");
    EXPECT_EQ(static_cast<int>(pass_debug_unrollMulti), 4);
    register_option twin("debug:unroll_MULTI");
    twin = 6;
    EXPECT_EQ(static_cast<int>(pass_debug_unrollMulti), 6);
    EXPECT_FALSE(static_cast<bool>(pass_disable_vn));
    EXPECT_TRUE(register_option::is_registered("disable:vn"));
    EXPECT_FALSE(register_option::is_registered("disable:nothing"));
}

TEST_F(Switches, OverlongNamesAreCut) {
    std::string name(2000, 'n');
    process_debug_option("debug", name.c_str());
    EXPECT_EQ(pass_debug(name.c_str()), 1);
    EXPECT_EQ(strlen(debug_switch_name(0)), 511u);
}

TEST(FileNames, ExtensionsOfTheLastComponent) {
    EXPECT_EQ(fn_delext("a/b.c/file.x.ic"), "a/b.c/file.x");
    EXPECT_EQ(fn_delext("a/b.c/file"), "a/b.c/file");
    EXPECT_EQ(fn_delext("a/.hidden"), "a/.hidden");
    EXPECT_EQ(fn_addext("a.d/file", ".opt", 0), "a.d/file.opt");
    EXPECT_EQ(fn_addext("file.ic", ".opt", 0), "file.ic");
    EXPECT_EQ(fn_addext("file.ic", ".opt", 1), "file.ic.opt");
}

} // namespace
