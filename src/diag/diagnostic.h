// Numbered messages to the user: one table (diag_info.def), one class in namespace DIAG for each row, and the facade
// USER_MSG for texts without a row of their own.
//
//     DIAG::optgen_missing_parameter missing("--opt_level", "level");
//     missing.report();          // "error: option --opt_level is missing its parameter 'level'" on standard error
//
// A report prints header, text and newline, wrapped at diag_cols_m columns, and counts: an error beyond the limit and
// every fatal error end the run with status 1 through end_run (an internal fatal error aborts).
#ifndef DIAG_DIAGNOSTIC_H
#define DIAG_DIAGNOSTIC_H

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

enum dc_SEVERITY : int {
    SEV_suppressed,
    SEV_no_error,
    SEV_advice,
    SEV_debug,
    SEV_remark,
    SEV_warning,
    SEV_error,
    SEV_fatal
};

// The place in this program's source from which a report is made.
struct REPORT_PLACE {
    const char* file;
    unsigned line;
    static constexpr REPORT_PLACE current(const char* file = __builtin_FILE(), unsigned line = __builtin_LINE()) {
        return {file, line};
    }
};

struct DIAG_INFO {
    unsigned id; // 0 ends the table
    const char* text;
    unsigned spare;
    dc_SEVERITY severity; // override_severity changes it
    bool internal;
    bool locked; // the severity cannot be overridden
};

// Where in the user's source a message points. A report owns it.
struct DIAG_SRCINFO {
    std::string file;
    unsigned line = 0;
    std::string text() const; // "\"<file>\", line <line>"; without a line the file's text as it stands
};

class DIAGNOSTIC {
  public:
    explicit DIAGNOSTIC(unsigned id); // a number that the table does not hold is an internal fault
    virtual ~DIAGNOSTIC() = default;
    DIAGNOSTIC(const DIAGNOSTIC&) = delete;
    DIAGNOSTIC& operator=(const DIAGNOSTIC&) = delete;

    virtual void* alloc(size_t n); // memory for whoever keeps a message; never null
    // Prints header, text, newline, and counts; may end the run. The place of the call is the message's origin.
    virtual void report(REPORT_PLACE where = REPORT_PLACE::current());
    virtual void dump(FILE* to) const; // one line: number, severity, text without its parameters
    virtual void free_mem(void* p);
    virtual std::string& get_sp_buffer(); // where sp_print writes
    virtual bool is_equal(const DIAGNOSTIC& other) const;

    // The pieces that report() is made of. print_header and print do nothing for a suppressed message.
    void print_header();
    void print(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void flush();
    void start_new_line();
    // Formats into the message's own buffer; the text stays until the next sp_print of the same object.
    const char* sp_print(const char* format, ...) __attribute__((format(printf, 2, 3)));

    const char* sev_str() const;
    FILE* fp() const;
    bool suppress() const;
    bool is_discretionary() const;
    void set_src(DIAG_SRCINFO* source) { source_.reset(source); } // takes it over
    void set_origin(const char* file, unsigned line);
    void show_annotated_source();
    const DIAG_INFO* info() const { return info_; }
    bool header_is_printed() const { return header_printed_; }

    static DIAG_INFO* get_info(int id); // null: no such row
    static const char* sev_str(int severity);

    // Each change applies only where the row allows it: neither internal nor locked, neither advice nor fatal; to any
    // severity but advice, debug and "no error". The list form takes numbers with commas between them.
    static void override_severity(unsigned id, dc_SEVERITY severity);
    static void override_severity(const char* ids, dc_SEVERITY severity);
    static void override_severity(dc_SEVERITY from, dc_SEVERITY to);

    static void push_indent(int n); // n more blanks in front of every message
    static void pop_indent();
    static void push_debug_mode(bool on);
    static void pop_debug_mode();
    static void reset(); // everything as at the start of the process

    static unsigned long error_count_m, max_errors_m;
    static FILE* fp_m; // null: standard output below warnings, else standard error
    static int diag_cols_m, wrap_indent_m, indent_m;
    static bool wrap_enabled_m, wrap_headers_m;
    static bool warnings_m, remarks_m, advice_m, debug_m; // severities that are shown
    static bool verbose_m, display_ipos_m, display_code_m;
    static bool debug_mode_m; // errors are shown and not counted
    static std::vector<int> indent_stack_m;
    static std::vector<bool> debug_mode_stack_m;

  private:
    void end_line();
    void print_formatted(const char* text, bool on_new_line, int* columns, int diag_cols, int indent, int wrap_indent);

    DIAG_INFO* info_;
    int columns_; // left on the line
    std::unique_ptr<DIAG_SRCINFO> source_;
    const char* origin_file_ = "";
    unsigned origin_line_ = 0;
    bool header_printed_ = false;
    std::string sp_buffer_;
};

namespace DIAG {

// Parameters as a message takes them and as it keeps them: texts are copied.
struct TEXT {
    using taken = const char*;
    using kept = std::string;
};
struct NUMBER {
    using taken = unsigned long;
    using kept = unsigned long;
};
inline const char* printed(const std::string& text) { return text.c_str(); }
inline unsigned long printed(unsigned long number) { return number; }

template <unsigned ID, typename... PARAMETERS> class message : public DIAGNOSTIC {
  public:
    explicit message(typename PARAMETERS::taken... parameters) : DIAGNOSTIC(ID), parameters_(parameters...) {}
    void report(REPORT_PLACE where = REPORT_PLACE::current()) override {
        set_origin(where.file, where.line);
        print_header();
        if constexpr (sizeof...(PARAMETERS) == 0)
            print("%s", info()->text);
        else
            std::apply([this](const auto&... p) { print(info()->text, printed(p)...); }, parameters_);
        flush();
    }
    bool is_equal(const DIAGNOSTIC& other) const override {
        auto same = dynamic_cast<const message*>(&other);
        return same != nullptr && same->parameters_ == parameters_;
    }

  private:
    std::tuple<typename PARAMETERS::kept...> parameters_;
};

#define DIAG_PARAMETERS(...) __VA_OPT__(, ) __VA_ARGS__
#define DIAG_MESSAGE(id, name, severity, flags, text, parameters)                                                      \
    class name final : public message<id DIAG_PARAMETERS parameters> {                                                 \
        using message::message;                                                                                        \
    };
#include "diag/diag_info.def"
#undef DIAG_PARAMETERS

} // namespace DIAG

// Messages without a row of their own. All take a format and its arguments.
class USER_MSG {
  public:
    void set_warnings_are_errors(bool on) { warnings_are_errors_ = on; }

    void debug(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void remark(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void advice(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void error(const char* format, ...) __attribute__((format(printf, 2, 3)));
    // `id` is the warning's number in the caller's own list: one that the table knows and that was overridden to
    // "suppressed" is silent.
    void warning(unsigned id, const char* format, ...) __attribute__((format(printf, 3, 4)));
    void apperror(const char* format, ...) __attribute__((format(printf, 2, 3)));
    [[noreturn]] void fatal(const char* format, ...) __attribute__((format(printf, 2, 3)));
    [[noreturn]] void die(const char* file, const char* format, ...) __attribute__((format(printf, 3, 4)));

    // The same with a position, which the report takes over.
    void advice(DIAG_SRCINFO*, const char* format, ...) __attribute__((format(printf, 3, 4)));
    void error(DIAG_SRCINFO*, const char* format, ...) __attribute__((format(printf, 3, 4)));
    void warning(DIAG_SRCINFO*, unsigned id, const char* format, ...) __attribute__((format(printf, 4, 5)));
    [[noreturn]] void fatal(DIAG_SRCINFO*, const char* format, ...) __attribute__((format(printf, 3, 4)));

    unsigned long get_error_count() const { return DIAGNOSTIC::error_count_m; }
    static std::string make_msg_str(const char* format, va_list args);

  private:
    void give_warning(DIAG_SRCINFO*, unsigned id, const std::string& text);
    bool warnings_are_errors_ = false;
};
USER_MSG& get_umsg_obj();

#endif
