#include "diag/diagnostic.h"

#include <gtest/gtest.h>

#include <csignal>
#include <functional>

namespace {

class Diagnostics : public testing::Test {
  protected:
    void SetUp() override { DIAGNOSTIC::reset(); }
    void TearDown() override { DIAGNOSTIC::reset(); }

    // What the action writes when all messages go to one stream.
    static std::string text_of(const std::function<void()>& action) {
        char* buffer = nullptr;
        size_t size = 0;
        DIAGNOSTIC::fp_m = open_memstream(&buffer, &size);
        action();
        fclose(DIAGNOSTIC::fp_m);
        DIAGNOSTIC::fp_m = nullptr;
        std::string text(buffer, size);
        free(buffer);
        return text;
    }
    static std::string error_text(const std::string& message) {
        return text_of([&] { get_umsg_obj().error("%s", message.c_str()); });
    }
};

std::string word(size_t length, char letter) { return std::string(length, letter); }

TEST_F(Diagnostics, ParametersStandInTheTextsOrder) {
    std::string text = text_of([] {
        std::string option = "--max_unrolled_loop_size"; // gone before the report
        DIAG::optgen_arg_out_of_range2 outside((option + "x").c_str(), "-1", 0, 4294967295UL);
        option.clear();
        DIAGNOSTIC::wrap_enabled_m = false;
        outside.report();
    });
    EXPECT_EQ(text, "error: argument to option --max_unrolled_loop_sizex (-1) is out of range (must be a number from 0 "
                    "to 4294967295\n");
}

TEST_F(Diagnostics, LinesAreWrappedAtTheLastBlankThatFits) {
    // "error: " leaves 72 columns on the first line, a further line has 76.
    EXPECT_EQ(error_text(word(72, 'a')), "error: " + word(72, 'a') + "\n");
    EXPECT_EQ(error_text(word(30, 'a') + " " + word(41, 'b')), "error: " + word(30, 'a') + " " + word(41, 'b') + "\n");
    EXPECT_EQ(error_text(word(30, 'a') + " " + word(42, 'b')),
              "error: " + word(30, 'a') + " \n   " + word(42, 'b') + "\n");
    // A word that does not fit behind the header but on a line of its own is not cut.
    EXPECT_EQ(error_text(word(76, 'a') + " b"), "error: \n   " + word(76, 'a') + "\n   b\n");
    // One that is longer than a line is cut at the line's end.
    EXPECT_EQ(error_text(word(160, 'a')),
              "error: " + word(72, 'a') + "\n   " + word(76, 'a') + "\n   " + word(12, 'a') + "\n");
    EXPECT_EQ(error_text("one\ntwo"), "error: one\ntwo\n");
    DIAGNOSTIC::wrap_enabled_m = false;
    EXPECT_EQ(error_text(word(160, 'a')), "error: " + word(160, 'a') + "\n");
}

TEST_F(Diagnostics, IndentMovesEveryLineAndComesBack) {
    DIAGNOSTIC::push_indent(4);
    DIAGNOSTIC::push_indent(2);
    EXPECT_EQ(error_text(word(60, 'a') + " " + word(9, 'b')),
              "      error: " + word(60, 'a') + " \n         " + word(9, 'b') + "\n");
    DIAGNOSTIC::pop_indent();
    DIAGNOSTIC::pop_indent();
    EXPECT_EQ(error_text("a"), "error: a\n");
}

TEST_F(Diagnostics, Headers) {
    DIAGNOSTIC::display_code_m = true;
    EXPECT_EQ(error_text("a"), "error #99923-D: a\n");
    EXPECT_EQ(text_of([] {
                  get_umsg_obj().error(new DIAG_SRCINFO{"x.c", 7}, "%d", 5);
              }),
              "\"x.c\", line 7: error #99923-D: 5\n");
    DIAGNOSTIC::advice_m = true;
    EXPECT_EQ(text_of([] { get_umsg_obj().advice("a"); }), "advice #99927: a\n");
    DIAGNOSTIC::display_code_m = false;
    // An internal message always tells where it comes from.
    EXPECT_EQ(text_of([] { get_umsg_obj().apperror("bad %s", "table"); }).find("diag/user_msg_api.cpp:"), 0u);
    EXPECT_NE(text_of([] { get_umsg_obj().apperror("bad"); }).find(":internal error #99924: bad\n"), std::string::npos);
    // A header that is longer than the line stays whole; the text goes to the next line.
    std::string file = word(80, 'f');
    EXPECT_EQ(text_of([&] {
                  get_umsg_obj().error(new DIAG_SRCINFO{file, 7}, "text");
              }),
              "\"" + file + "\", line 7: error: \n   text\n");
}

TEST_F(Diagnostics, StreamsAndSwitchesBySeverity) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    get_umsg_obj().remark("hidden");
    get_umsg_obj().debug("hidden");
    DIAGNOSTIC::remarks_m = true;
    get_umsg_obj().remark("shown");
    get_umsg_obj().warning(1, "careful");
    DIAGNOSTIC::warnings_m = false;
    get_umsg_obj().warning(1, "hidden");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "remark: shown\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "warning: careful\n");
    EXPECT_EQ(DIAGNOSTIC::error_count_m, 0u);
}

TEST_F(Diagnostics, ErrorsAreCountedUpToTheLimit) {
    testing::internal::CaptureStderr();
    DIAGNOSTIC::push_debug_mode(true);
    for (int i = 0; i < 300; i++) get_umsg_obj().error("not counted");
    DIAGNOSTIC::pop_debug_mode();
    EXPECT_EQ(get_umsg_obj().get_error_count(), 0u);
    for (int i = 0; i < 100; i++) get_umsg_obj().error("counted");
    EXPECT_EQ(get_umsg_obj().get_error_count(), 100u);
    testing::internal::GetCapturedStderr();
    EXPECT_EXIT(get_umsg_obj().error("once more"), testing::ExitedWithCode(1),
                "error: once more\nfatal error: error limit reached; 100 errors detected\n$");
}

TEST_F(Diagnostics, FatalMessagesEndTheRun) {
    EXPECT_EXIT(get_umsg_obj().fatal("no %s", "way"), testing::ExitedWithCode(1), "^fatal error: no way\n$");
    EXPECT_EXIT(get_umsg_obj().die("100%.c", "line %d", 3), testing::KilledBySignal(SIGABRT),
                "internal fatal error #99926: \\(100%.c: line 3\\)\n$");
    get_umsg_obj().set_warnings_are_errors(true);
    EXPECT_EQ(text_of([] { get_umsg_obj().warning(1, "a"); }), "error: a\n");
    EXPECT_EQ(DIAGNOSTIC::error_count_m, 1u);
}

TEST_F(Diagnostics, SeveritiesAreOverriddenWhereARowAllowsIt) {
    auto severity = [](int id) { return DIAGNOSTIC::get_info(id)->severity; };
    DIAGNOSTIC::override_severity("24000,24003, 24004", SEV_remark);
    EXPECT_EQ(severity(24000), SEV_remark);
    EXPECT_EQ(severity(24003), SEV_remark);
    EXPECT_EQ(severity(24004), SEV_remark);
    for (dc_SEVERITY refused : {SEV_no_error, SEV_advice, SEV_debug}) DIAGNOSTIC::override_severity(24000, refused);
    EXPECT_EQ(severity(24000), SEV_remark);
    for (int fixed : {24001, 99920, 99924, 99926, 99927}) { // fatal, internal, advice
        dc_SEVERITY before = severity(fixed);
        DIAGNOSTIC::override_severity(static_cast<unsigned>(fixed), SEV_error);
        EXPECT_EQ(severity(fixed), before) << fixed;
    }
    DIAGNOSTIC::override_severity(SEV_remark, SEV_suppressed);
    EXPECT_EQ(text_of([] { DIAG::optgen_invalid_option().report(); }), "");
    EXPECT_EQ(DIAGNOSTIC::error_count_m, 0u);
    DIAGNOSTIC::override_severity(1u, SEV_error); // no such row
    EXPECT_EQ(DIAGNOSTIC::get_info(1), nullptr);
    EXPECT_STREQ(DIAGNOSTIC::sev_str(8), "(unknown)");
}

TEST_F(Diagnostics, MessagesAreEqualWithTheirParameters) {
    DIAG::gerror a("text"), b("text"), c("other");
    DIAG::gwarning d("text");
    EXPECT_TRUE(a.is_equal(b));
    EXPECT_FALSE(a.is_equal(c));
    EXPECT_FALSE(a.is_equal(d));
    EXPECT_STREQ(a.sp_print("%s-%d", "x", 3), "x-3");
}

} // namespace
