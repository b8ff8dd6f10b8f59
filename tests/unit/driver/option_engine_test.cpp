// The option engine: every row of the table in every form, counts and history, exports, conflicts, merging, help.
#include "driver/optobj.h"

#include "diag/diagnostic.h"
#include "driver/safealloc.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <random>

namespace {

using WORDS = std::vector<std::string>;

WORDS next_words;
const char* take_word() {
    static std::string word;
    if (next_words.empty()) return nullptr;
    word = next_words.front();
    next_words.erase(next_words.begin());
    return word.c_str();
}

class OptionEngine : public ::testing::Test {
  protected:
    void SetUp() override {
        DIAGNOSTIC::wrap_enabled_m = false;
        next_words.clear();
        option_obj::next_arg = take_word;
    }
    void TearDown() override {
        DIAGNOSTIC::reset();
        option_obj::next_arg = nullptr;
        memset(option_obj::conflicts, 0, sizeof option_obj::conflicts);
        memset(option_obj::merge_conflicts, 0, sizeof option_obj::merge_conflicts);
        std::fill(std::begin(option_obj::merge_policy_functions), std::end(option_obj::merge_policy_functions),
                  nullptr);
        std::fill(std::begin(option_obj::mutex_merge_override_functions),
                  std::end(option_obj::mutex_merge_override_functions), nullptr);
    }
};

// Words with their first dash.
option_obj parsed(const WORDS& words, bool quiet = true) {
    option_obj o(quiet);
    for (const std::string& word : words) EXPECT_TRUE(o.process_option(word.c_str() + 1)) << word;
    return o;
}

std::vector<option_id> spelled_options() {
    std::vector<option_id> ids;
    for (int id = 0; id < COUNT_OPTIONS; id++)
        if (has_spelling(static_cast<option_id>(id)) && id != OPT_toolversion)
            ids.push_back(static_cast<option_id>(id));
    return ids;
}

std::string sample_argument(option_id id) {
    switch (option_definitions[id].parm_type) {
    case PARM_FLAG: return "";
    case PARM_NUMBER: return "3";
    case PARM_VALUE: return value_list(id, ",").substr(value_list(id, ",").rfind(',') + 1);
    default: return "some=1,text";
    }
}

std::string long_word(option_id id, const std::string& argument) {
    std::string name = std::string("--") + option_definitions[id].long_name;
    if (argument.empty()) return name;
    return name + (ends_in_colon(name.c_str()) ? "" : "=") + argument;
}

std::string printed(const std::function<void()>& print) {
    testing::internal::CaptureStdout();
    print();
    fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

// ---- the table

TEST_F(OptionEngine, EveryLongFormSetsItsOptionAndReplays) {
    for (option_id id : spelled_options()) {
        std::string word = long_word(id, sample_argument(id));
        option_obj o = parsed({word});
        EXPECT_EQ(o.export_option_list(EXPORT_ALL), WORDS{word});
        EXPECT_EQ(o.state_count(id), 1);
        EXPECT_EQ(o.parsed_count(id), 1);
        EXPECT_EQ(o.format_of_option(id), std::string("--") + option_definitions[id].long_name);
        ASSERT_EQ(o.history().size(), 1u) << word;
        EXPECT_EQ(o.history()[0].id, id);
    }
}

TEST_F(OptionEngine, EveryShortFormMeansTheSame) {
    for (option_id id : spelled_options()) {
        std::string name = option_definitions[id].short_name, argument = sample_argument(id);
        if (name.empty() || name == "#") continue;
        WORDS expected{long_word(id, argument)};
        for (char& c : name) c = static_cast<char>(toupper(c)); // letters count in either case, without a warning
        testing::internal::CaptureStderr();
        option_obj in_word = parsed({"-" + name + argument});
        if (!argument.empty()) next_words = {argument, "left"};
        option_obj behind = parsed({"-" + name});
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        EXPECT_EQ(in_word.export_option_list(EXPORT_ALL), expected) << name;
        EXPECT_EQ(behind.export_option_list(EXPORT_ALL), expected) << name;
        EXPECT_EQ(behind.format_of_option(id), std::string("-") + option_definitions[id].short_name);
        EXPECT_EQ(next_words, argument.empty() ? WORDS{} : WORDS{"left"});
        next_words.clear();
    }
}

TEST_F(OptionEngine, LongFormsAlone) {
    for (option_id id : spelled_options()) {
        long alone = option_definitions[id].alone;
        if (option_definitions[id].parm_type == PARM_FLAG || alone == option_needs_argument) continue;
        option_obj o = parsed({long_word(id, "")});
        EXPECT_TRUE(o.isset(id));
        EXPECT_EQ(o.getargcount(id), alone == option_is_textless ? 0u : 1u);
        EXPECT_EQ(o.getnumarg(id), alone == option_is_textless ? 0 : alone) << option_definitions[id].name;
        option_obj again = parsed(o.export_option_list(EXPORT_ALL));
        EXPECT_EQ(again.getargcount(id), o.getargcount(id));
        EXPECT_EQ(again.getnumarg(id), o.getnumarg(id));
    }
}

TEST_F(OptionEngine, NoWordIsTheBeginningOfAnother) {
    for (option_id id : spelled_options()) {
        std::string name = std::string("-") + option_definitions[id].long_name;
        option_obj o;
        const char* at = nullptr;
        std::string longer = name + "q", shorter = name.substr(0, name.size() - 1);
        if (!ends_in_colon(name.c_str())) {
            EXPECT_FALSE(o.process_option(longer.c_str(), &at)) << longer;
            EXPECT_EQ(at, longer.c_str() + name.size());
        }
        EXPECT_FALSE(o.process_option(shorter.c_str(), &at)) << shorter;
        EXPECT_EQ(o.export_option_list(EXPORT_GIVEN), WORDS{});
    }
}

TEST_F(OptionEngine, ValuesHaveNamesAndSomeHaveNumbers) {
    struct CASE {
        const char* word;
        option_id id;
        long number;
    };
    for (CASE c : {CASE{"--opt_level=off", OPT_opt_level, -1}, CASE{"--opt_level=4", OPT_opt_level, 4},
                   CASE{"-oOFF", OPT_opt_level, -1}, CASE{"--endian=Big", OPT_endian, ENDIAN_BIG},
                   CASE{"--fp_mode=STRICT", OPT_fp_mode, FP_MODE_STRICT}, CASE{"--fp_reassoc=0", OPT_fp_reassoc, 0},
                   CASE{"--sat_reassoc=on", OPT_sat_reassoc, 1}, CASE{"--vectorize=1", OPT_vectorize, VECTORIZE_ON},
                   CASE{"--vectorize=off", OPT_vectorize, 49}, CASE{"--abi=2", OPT_abi, 2},
                   CASE{"--orv_support=full", OPT_orv_support, 4}, CASE{"--size_speed_goal=5", OPT_size_speed_goal, 5}})
        EXPECT_EQ(parsed({c.word}).getnumarg(c.id), c.number) << c.word;
    for (option_id id : spelled_options())
        for (const char* wrong : {"", "no_such_value", "off,on"})
            EXPECT_EQ(value_by_text(id, wrong), nullptr) << option_definitions[id].name << wrong;
}

TEST_F(OptionEngine, OptionsWithoutSpellingAreSetInsideOnly) {
    for (int i : {0, 10, 12, 17, 29, 62}) {
        auto id = static_cast<option_id>(i);
        option_obj o;
        EXPECT_FALSE(o.process_option((std::string("-") + option_definitions[i].name + "x").c_str()));
        o.setopt(id);
        EXPECT_TRUE(o(id));
        EXPECT_EQ(o.export_option_list(EXPORT_ALL), WORDS{});
    }
}

TEST_F(OptionEngine, Classes) {
    using C = class_id;
    EXPECT_EQ(option_obj::class_list_for_option(OPT_print_debug), (std::vector<C>{C(1), C(2), C(4), C(9)}));
    EXPECT_TRUE(option_obj::isclass(OPT_far_externs, C::ALL));
    EXPECT_TRUE(option_obj::class_list_for_option(OPT_far_externs).empty());
    option_obj o = parsed({"--print_debug=2", "-f", "--rpt_threshold=4", "--opt_level=3"});
    EXPECT_TRUE(o.testclass(C(5)));
    EXPECT_FALSE(o.testclass(C(8)));
    EXPECT_EQ(o.export_option_class(EXPORT_SET, C(9)), WORDS{"--print_debug=2"});
    o.clearopt(C(5));
    EXPECT_FALSE(o.testclass(C(5)));
    EXPECT_TRUE(o.seenclass(C(5)));
    EXPECT_TRUE(o.isset(OPT_print_debug));
    o.setopt(C(8));
    EXPECT_TRUE(o(OPT_diag_wrap) && o(OPT_section_sizes));
}

// Words made of pieces of options: each is understood, refused, or ends the run in an orderly way; what is understood
// can be replayed, and the replay is a fixed point.
TEST_F(OptionEngine, RandomWords) {
    std::mt19937 random(1);
    auto pick = [&](size_t n) { return static_cast<size_t>(random() % n); };
    const char* const pieces[] = {"=",          "-",   "--", "#",  "v",    "0x7fffffff", "010",
                                  "2147483648", "off", "ON", "-1", "\xff", ","};
    auto piece = [&]() -> std::string {
        auto id = static_cast<option_id>(pick(COUNT_OPTIONS));
        switch (pick(6)) {
        case 0: return option_definitions[id].long_name;
        case 1: return option_definitions[id].short_name;
        case 2: return std::string("-") + option_definitions[id].long_name + "=" + sample_argument(id);
        case 3: return option_definitions[id].short_name + sample_argument(id);
        case 4: return std::string(1, static_cast<char>(1 + pick(255)));
        default: return pieces[pick(std::size(pieces))];
        }
    };
    end_run_hook = [](int status) { throw run_ended{status}; };
    FILE* nowhere = fopen("/dev/null", "w");
    DIAGNOSTIC::fp_m = nowhere;
    DIAGNOSTIC::max_errors_m = ULONG_MAX;
    int understood = 0, refused = 0, ended = 0;
    testing::internal::CaptureStdout();
    for (int i = 0; i < 20000; i++) {
        std::string word;
        for (size_t n = pick(3) + 1; n > 0; n--) word += piece();
        next_words = {piece()};
        option_obj o(false);
        const char* at = nullptr;
        try {
            if (!o.process_option(word.c_str(), &at)) {
                refused++;
                EXPECT_TRUE(at >= word.c_str() - 1 && at <= word.c_str() + word.size()) << word;
                continue;
            }
            understood++;
            WORDS words = o.export_option_list(EXPORT_ALL);
            EXPECT_EQ(parsed(words).export_option_list(EXPORT_ALL), words) << word;
        } catch (const run_ended& end) {
            ended++;
            EXPECT_LE(end.status, 1) << word;
        }
    }
    testing::internal::GetCapturedStdout();
    end_run_hook = nullptr;
    fclose(nowhere);
    EXPECT_GT(understood, 1000);
    EXPECT_GT(refused, 1000);
    EXPECT_GT(ended, 1000);
}

// ---- settings

TEST_F(OptionEngine, CountsHistoryAndCopies) {
    option_obj o = parsed({"--auto_inline=5", "--debug:a", "-k", "--auto_inline=6", "--debug:b", "-k"});
    o.setopt(OPT_kr_compatible);
    EXPECT_EQ(o.state_count(OPT_kr_compatible), 3);
    EXPECT_EQ(o.set_count(OPT_kr_compatible), 3);
    EXPECT_EQ(o.parsed_count(OPT_kr_compatible), 2);
    auto history = [](const option_obj& of) {
        std::string text;
        for (const OPTION_HISTORY& entry : of.history())
            text += std::string(option_definitions[entry.id].name) + "=" + entry.argument.text + " ";
        return text;
    };
    EXPECT_EQ(history(o), "debug=a auto_inline=6 debug=b kr_compatible= ");

    option_obj copy(o);
    o.clearopt(OPT_kr_compatible);
    o.clearopt(OPT_debug);
    o.clear_history(OPT_debug);
    EXPECT_EQ(o.state_count(OPT_kr_compatible), 0);
    EXPECT_EQ(o.set_count(OPT_kr_compatible), 3);
    EXPECT_EQ(history(o), "auto_inline=6 kr_compatible= ");
    EXPECT_EQ(o.export_option_list(EXPORT_ALL), WORDS{"--auto_inline=6"});
    EXPECT_EQ(o.export_option_list(EXPORT_GIVEN), (WORDS{"--auto_inline=6", "--kr_compatible"}));
    EXPECT_EQ(copy.export_option_list(EXPORT_ALL),
              (WORDS{"--auto_inline=6", "--debug:a", "--debug:b", "--kr_compatible"}));
    EXPECT_TRUE(copy.args_match_list(OPT_debug, {"a", "b"}));
    EXPECT_FALSE(copy.args_match_list(OPT_debug, {"a"}));
}

TEST_F(OptionEngine, ArgumentsKeepTheirKind) {
    option_obj o;
    o.setopt(OPT_silicon_version, 6400L);
    EXPECT_STREQ(o.getstrarg(OPT_silicon_version), "6400");
    o.setopt(OPT_silicon_version, "6600");
    EXPECT_EQ(o.getargcount(OPT_silicon_version), 1u);
    o.setopt(OPT_auto_inline, "0x10");
    EXPECT_EQ(o.getnumarg(OPT_auto_inline), 16);
    EXPECT_EQ(o.export_option(OPT_auto_inline, 0), "--auto_inline=16");
    an_argument_t last;
    EXPECT_TRUE(o.get_argument(OPT_auto_inline, &last));
    EXPECT_FALSE(o.get_argument(OPT_debug, &last));
    EXPECT_EQ(o.getnumarg(OPT_debug, 7), 0);
    EXPECT_STREQ(o.getstrarg(OPT_debug, 7), "");
    EXPECT_EXIT(o.setarg(OPT_far_externs, 1L), ::testing::ExitedWithCode(1),
                "unhandled clause in setarg\\(\\) \\[0\\]");
}

TEST_F(OptionEngine, TheDebugFlagTellsEveryStep) {
    option_obj o;
    o.debug_level = 1;
    std::string text = printed([&] { o.process_option("-opt_for_speed=3"); });
    EXPECT_EQ(text, "opt option debug: Parsed option id opt_for_speed/43\n"
                    "opt option debug: check 0 <= 3 <= 5\n"
                    "opt option debug: Set    option id opt_for_speed to state 1\n"
                    "opt option debug: Add option id opt_for_speed to history with arg 3\n");
    EXPECT_EQ(printed([&] { o.addfileopt(OPT_abi, "a.c"); }), "opt option debug: Add file 'a.c' to abi's history\n");
}

TEST_F(OptionEngine, ParseTypes) {
    option_obj o;
    auto arg = [&](const char* rest, int type, OPTION_BOUNDS range = full_range) {
        return o.parse_arg(OPT_auto_inline, rest, "size", type, range);
    };
    EXPECT_EQ(arg("", PARSE_NUMBER + PARSE_LONG_FORM), nullptr);
    EXPECT_STREQ(arg("=x y", PARSE_TEXT + PARSE_LONG_FORM), "x y");
    EXPECT_STREQ(arg("=4294967295", PARSE_UNSIGNED + PARSE_LONG_FORM, full_unsigned_range), "4294967295");
    EXPECT_STREQ(arg("=7", PARSE_TEXT), "=7"); // the rest of the word, whatever it is
    next_words = {"9"};
    EXPECT_STREQ(arg("", PARSE_RANGED), "9");
    for (int type : {6, 7, 15, 16, 18, -1})
        EXPECT_EXIT(arg("=1", type), ::testing::ExitedWithCode(1), "corruption in option handler") << type;
    for (const char* text : {"-1", "4294967296", "99999999999999999999999", "1-"})
        EXPECT_EXIT(arg(text, PARSE_UNSIGNED, full_unsigned_range), ::testing::ExitedWithCode(1), "out of range");
    EXPECT_EXIT(arg("10", PARSE_RANGED, {11, 20}), ::testing::ExitedWithCode(1), "from 11 to 20");
}

TEST(OptionNumbers, RadixAndLeftovers) {
    struct CASE {
        const char* text;
        long value;
        bool failed;
    };
    for (CASE c : {CASE{"0", 0, false}, CASE{"010", 8, false}, CASE{"0x1F", 31, false}, CASE{"0Xa", 10, false},
                   CASE{"-12", -12, false}, CASE{"08", 0, true}, CASE{"", 0, true}, CASE{"0x", 0, true},
                   CASE{"12a", 12, true}, CASE{" 1", 1, true}, CASE{"9223372036854775808", LONG_MAX, true}}) {
        int failed = 2;
        EXPECT_EQ(strtol_by_radix(c.text, &failed), c.value) << c.text;
        EXPECT_EQ(failed, c.failed) << c.text;
    }
    int failed = 2;
    EXPECT_EQ(strtoul_by_radix("0xFFFFFFFFFFFFFFFF", &failed), ULONG_MAX);
    EXPECT_EQ(failed, 0);
}

// ---- conflicts. No option of the program has any, so the tests make some.

TEST_F(OptionEngine, ConflictsClearWarnOrEndTheRun) {
    option_obj::conflicts[OPT_use_g2vm][OPT_use_g3vm] = 1;
    option_obj::conflicts[OPT_big_endian][OPT_endian] = 2;
    option_obj::conflicts[OPT_far_externs][OPT_large_memory_model] = 3;
    testing::internal::CaptureStderr();
    option_obj o = parsed({"--use_g3vm", "--use_g2vm"}, false);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(o.export_option_list(EXPORT_ALL), WORDS{"--use_g2vm"});
    EXPECT_EQ(o.export_option_list(EXPORT_GIVEN), (WORDS{"--use_g2vm", "--use_g3vm"}));
    o = parsed({"--use_g2vm", "--use_g3vm"}, false); // the other way round they do not conflict
    EXPECT_TRUE(o(OPT_use_g2vm) && o(OPT_use_g3vm));

    testing::internal::CaptureStderr();
    o = parsed({"--endian=big", "-e"}, false);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("warning: option -e overrides preceding option --endian"),
              std::string::npos);
    EXPECT_FALSE(o(OPT_endian));
    EXPECT_EXIT(parsed({"-m", "--far_externs"}, false), ::testing::ExitedWithCode(1),
                "error: option --far_externs conflicts with previous option -m");
    o = parsed({"-m", "--far_externs"}, true);
    EXPECT_TRUE(o(OPT_large_memory_model) && o(OPT_far_externs)); // a quiet object lets both stand
}

// ---- merging. No option of the program has a policy, so the tests give some.

TEST_F(OptionEngine, MergePolicies) {
    auto& policy = option_obj::merge_policy_functions;
    policy[OPT_far_externs] = option_obj::merge_policy_or;
    policy[OPT_kr_compatible] = policy[OPT_no_rpt] = option_obj::merge_policy_and;
    policy[OPT_opt_level] = option_obj::merge_policy_main;
    policy[OPT_auto_inline] = option_obj::merge_policy_max;
    policy[OPT_opt_for_speed] = option_obj::merge_policy_min;
    policy[OPT_abi] = option_obj::merge_policy_exact;
    policy[OPT_endian] = option_obj::merge_policy_exact_notset;
    policy[OPT_volit_vars] = option_obj::merge_policy_none;
    option_obj main = parsed({"-k", "--no_rpt", "-o2", "-i5", "--opt_for_speed=3", "--abi=2"});
    option_obj other =
        parsed({"-f", "-k", "-o4", "-i0x10", "--opt_for_speed=1", "--abi=portable", "--endian=big", "-#v"});
    option_obj merged;
    merged.merge_init(main);
    merged.setopt(OPT_opt_level, 3L);
    merged.merge_options(other);
    EXPECT_EQ(merged.export_option_list(EXPORT_ALL),
              (WORDS{"--abi=portable", "--auto_inline=16", "--endian=big", "--far_externs", "--kr_compatible",
                     "--opt_for_speed=1", "--opt_level=2"}));
    merged.merge_options(parsed({"-i7", "--opt_for_speed=2", "--abi=2"})); // a third file changes the flags alone
    EXPECT_EQ(merged.export_option_list(EXPORT_ALL), (WORDS{"--abi=portable", "--auto_inline=16", "--endian=big",
                                                            "--far_externs", "--opt_for_speed=1", "--opt_level=2"}));
    EXPECT_EQ(merged.history().back().argument.text, "<internal>");
}

TEST_F(OptionEngine, MergeErrors) {
    auto merge = [](const WORDS& mine, const WORDS& others) {
        option_obj into = parsed(mine), other = parsed(others);
        other.file_name = "b.c";
        into.merge_options(other);
    };
    option_obj::merge_policy_functions[OPT_abi] = option_obj::merge_policy_exact;
    option_obj::merge_policy_functions[OPT_endian] = option_obj::merge_policy_exact_notset;
    option_obj::merge_policy_functions[OPT_far_externs] = option_obj::merge_policy_or;
    option_obj::merge_conflicts[OPT_far_externs][OPT_large_memory_model] = 3;
    merge({}, {"--endian=big"});
    EXPECT_EXIT(merge({"--abi=2"}, {}), ::testing::ExitedWithCode(1),
                "option --abi was set in previous files, but not in \"b.c\"");
    EXPECT_EXIT(merge({}, {"--abi=2"}), ::testing::ExitedWithCode(1),
                "option --abi is set in \"b.c\", but not in previous files");
    EXPECT_EXIT(merge({"--endian=big"}, {"--endian=little"}), ::testing::ExitedWithCode(1),
                "option --endian is set in \"b.c\", and is incompatible with the previously seen option --endian");
    EXPECT_EXIT(merge({"--large_memory_model"}, {"-f"}), ::testing::ExitedWithCode(1),
                "option -f in file \"b.c\" conflicts with previous option --large_memory_model");
    option_obj::mutex_merge_override_functions[OPT_far_externs] = [](const option_obj&, option_id, const option_obj&) {
        return true;
    };
    merge({"--large_memory_model"}, {"-f"});
}

// ---- what is written

TEST_F(OptionEngine, HelpHasALineForEveryOption) {
    std::string text = printed(option_obj::dump_basic_class);
    for (option_id id : spelled_options()) {
        std::string left = option_obj::get_opt_txt(id);
        EXPECT_LT(left.size(), 40u) << left;
        size_t at = text.find("\n" + left + " ");
        ASSERT_NE(at, std::string::npos) << left;
        std::string line = text.substr(at + 1, text.find('\n', at + 1) - at - 1);
        EXPECT_LE(line.size(), 120u) << line;
        EXPECT_EQ(line.find_first_not_of(' ', left.size()), 40u) << line;
    }
    EXPECT_NE(text.find("\n  -o,  --opt_level={off,0,1,2,3,4}      how much is done; off and 0 translate only "
                        "(default: 1)\n"),
              std::string::npos);
    std::string class_5 = printed([] { option_obj::dump_class(class_id(5)); });
    EXPECT_EQ(std::count(class_5.begin(), class_5.end(), '\n'), 4);
}

TEST_F(OptionEngine, Listings) {
    option_obj o = parsed({"-o3", "--debug:a", "--debug:b"});
    EXPECT_EQ(printed([&] { o.print(); }), "--debug:a\n--debug:b\n--opt_level=3\n");
    EXPECT_EQ(printed([&] { o.dump_history(); }),
              "  1: opt_level \"3\" (3)\n  2: debug \"a\" (0)\n  3: debug \"b\" (0)\n");
    std::string used = printed([&] { o.dump(0); }), all = printed([&] { o.dump(1); });
    EXPECT_EQ(std::count(used.begin(), used.end(), '\n'), 3);
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), COUNT_OPTIONS + 1);
    EXPECT_NE(used.find("\"a\" (0) \"b\" (0)\n"), std::string::npos);
}

} // namespace
