#include "diag/diagnostic.h"

#include "driver/safealloc.h"
#include "ir/vars.h"

#include <cstdlib>
#include <cstring>
#include <map>
#include <new>

unsigned long DIAGNOSTIC::error_count_m = 0, DIAGNOSTIC::max_errors_m = 100;
FILE* DIAGNOSTIC::fp_m = nullptr;
int DIAGNOSTIC::diag_cols_m = 79, DIAGNOSTIC::wrap_indent_m = 3, DIAGNOSTIC::indent_m = 0;
bool DIAGNOSTIC::wrap_enabled_m = true, DIAGNOSTIC::wrap_headers_m = false;
bool DIAGNOSTIC::warnings_m = true, DIAGNOSTIC::remarks_m = false, DIAGNOSTIC::advice_m = false,
     DIAGNOSTIC::debug_m = false;
bool DIAGNOSTIC::verbose_m = false, DIAGNOSTIC::display_ipos_m = false, DIAGNOSTIC::display_code_m = false;
bool DIAGNOSTIC::debug_mode_m = false;
std::vector<int> DIAGNOSTIC::indent_stack_m;
std::vector<bool> DIAGNOSTIC::debug_mode_stack_m;

// -------------------------------------------------------------------------------------------------------------- table

namespace {

constexpr int INTERNAL = 1, LOCKED = 2;

DIAG_INFO DIAG_INFO_ENTRY[] = {
#define DIAG_MESSAGE(id, name, severity, flags, text, parameters)                                                      \
    {id, text, 0, SEV_##severity, ((flags)&INTERNAL) != 0, ((flags)&LOCKED) != 0},
#include "diag/diag_info.def"
    {0, nullptr, 0, SEV_suppressed, false, false}};

constexpr dc_SEVERITY original_severities[] = {
#define DIAG_MESSAGE(id, name, severity, flags, text, parameters) SEV_##severity,
#include "diag/diag_info.def"
};

bool severity_is_open(const DIAG_INFO& row) {
    return !row.internal && !row.locked && row.severity != SEV_advice && row.severity < SEV_fatal;
}

void override_row(DIAG_INFO& row, dc_SEVERITY severity) {
    bool possible = severity != SEV_no_error && severity != SEV_debug && severity != SEV_advice;
    if (possible && severity_is_open(row)) row.severity = severity;
}

} // namespace

DIAG_INFO* DIAGNOSTIC::get_info(int id) {
    static const std::map<int, DIAG_INFO*> rows = [] {
        std::map<int, DIAG_INFO*> made;
        for (DIAG_INFO* row = DIAG_INFO_ENTRY; row->id != 0; row++) made.emplace(static_cast<int>(row->id), row);
        return made;
    }();
    auto at = rows.find(id);
    return at != rows.end() ? at->second : nullptr;
}

void DIAGNOSTIC::override_severity(unsigned id, dc_SEVERITY severity) {
    if (DIAG_INFO* row = get_info(static_cast<int>(id))) override_row(*row, severity);
}

void DIAGNOSTIC::override_severity(const char* ids, dc_SEVERITY severity) {
    for (const char* at = ids;; at++) {
        override_severity(static_cast<unsigned>(strtoul(at, nullptr, 10)), severity);
        at += strcspn(at, ",");
        if (*at == 0) return;
    }
}

void DIAGNOSTIC::override_severity(dc_SEVERITY from, dc_SEVERITY to) {
    for (DIAG_INFO* row = DIAG_INFO_ENTRY; row->id != 0; row++)
        if (row->severity == from) override_row(*row, to);
}

const char* DIAGNOSTIC::sev_str(int severity) {
    static const char* const words[] = {"(suppressed)", "(no error)", "advice", "debug",
                                        "remark",       "warning",    "error",  "fatal error"};
    return severity >= SEV_suppressed && severity <= SEV_fatal ? words[severity] : "(unknown)";
}

// -------------------------------------------------------------------------------------------------------- one message

std::string DIAG_SRCINFO::text() const { return line == 0 ? file : "\"" + file + "\", line " + std::to_string(line); }

DIAGNOSTIC::DIAGNOSTIC(unsigned id) : info_(get_info(static_cast<int>(id))), columns_(diag_cols_m) {
    OPTASSERT(info_ != nullptr);
}

void* DIAGNOSTIC::alloc(size_t n) { return safemalloc(n); }
void DIAGNOSTIC::free_mem(void* p) { free(p); }
std::string& DIAGNOSTIC::get_sp_buffer() { return sp_buffer_; }
bool DIAGNOSTIC::is_equal(const DIAGNOSTIC& other) const { return info_ == other.info_; }
void DIAGNOSTIC::dump(FILE* to) const { fprintf(to, "#%u %s: %s\n", info_->id, sev_str(), info_->text); }

void DIAGNOSTIC::report(REPORT_PLACE where) {
    set_origin(where.file, where.line);
    print_header();
    print("%s", info_->text);
    flush();
}

// A build may give the file with its whole path, of which only the part below the source tree is shown.
void DIAGNOSTIC::set_origin(const char* file, unsigned line) {
    const char* below = file;
    for (const char* at = strstr(file, "src/"); at != nullptr; at = strstr(at + 1, "src/"))
        if (at == file || at[-1] == '/') below = at + 4;
    origin_file_ = below;
    origin_line_ = line;
}

const char* DIAGNOSTIC::sev_str() const { return sev_str(info_->severity); }
bool DIAGNOSTIC::is_discretionary() const { return severity_is_open(*info_); }

FILE* DIAGNOSTIC::fp() const {
    if (fp_m != nullptr) return fp_m;
    return info_->severity >= SEV_warning ? stderr : stdout;
}

bool DIAGNOSTIC::suppress() const {
    switch (info_->severity) {
    case SEV_suppressed: return true;
    case SEV_advice: return !advice_m;
    case SEV_debug: return !debug_m;
    case SEV_remark: return !remarks_m;
    case SEV_warning: return !warnings_m;
    default: return false;
    }
}

// ------------------------------------------------------------------------------------------------------------ printing

namespace {

// How much of the text stands on a line with `columns` columns left: up to the last blank that fits, the blank with it.
// 0: the first word does not fit here but does on a line of its own, which has `whole_line` columns.
size_t last_printable_char(const char* text, size_t columns, size_t whole_line) {
    size_t length = strnlen(text, columns + 1);
    if (length <= columns) return length;
    for (size_t n = columns; n > 0; n--)
        if (text[n - 1] == ' ') return n;
    size_t word = strcspn(text, " \n");
    return word > whole_line || columns >= whole_line ? columns : 0;
}

} // namespace

void DIAGNOSTIC::end_line() {
    if (columns_ < diag_cols_m) fputc('\n', fp());
    columns_ = diag_cols_m;
}

void DIAGNOSTIC::start_new_line() {
    fprintf(fp(), "\n%*s", indent_m + wrap_indent_m, "");
    columns_ = diag_cols_m - indent_m - wrap_indent_m;
}

void DIAGNOSTIC::print(const char* format, ...) {
    if (suppress()) return;
    va_list args;
    va_start(args, format);
    std::string text = USER_MSG::make_msg_str(format, args);
    va_end(args);
    if (wrap_enabled_m && columns_ <= 0) start_new_line();
    print_formatted(text.c_str(), false, &columns_, diag_cols_m, indent_m, wrap_indent_m);
}

// A newline in the text ends a piece, too, and the next piece has a full line.
void DIAGNOSTIC::print_formatted(const char* text, bool on_new_line, int* columns, int diag_cols, int indent,
                                 int wrap_indent) {
    OPTASSERT(diag_cols > indent + wrap_indent);
    if (on_new_line) start_new_line();
    auto whole_line = static_cast<size_t>(diag_cols - indent - wrap_indent);
    while (*text != 0) {
        size_t line = strcspn(text, "\n");
        size_t piece = line;
        if (wrap_enabled_m && *columns >= 0 && line > static_cast<size_t>(*columns))
            piece = last_printable_char(text, static_cast<size_t>(*columns), whole_line);
        fwrite(text, 1, piece, fp());
        text += piece;
        *columns -= static_cast<int>(piece);
        if (*text == 0) return;
        if (*text != '\n') {
            if (piece != 0 && *text == ' ') text++; // the word filled the line: the blank behind it is the line's end
            start_new_line();
            continue;
        }
        fputc('\n', fp());
        *columns = diag_cols;
        text++;
    }
}

void DIAGNOSTIC::print_header() {
    header_printed_ = true;
    if (suppress()) return;
    end_line();
    bool wrapping = wrap_enabled_m;
    if (!wrap_headers_m) wrap_enabled_m = false;
    print("%*s", indent_m, "");
    if (display_ipos_m || info_->internal) print("%s:%u:", origin_file_, origin_line_);
    if (source_ != nullptr) print("%s: ", source_->text().c_str());
    if (display_code_m || info_->internal)
        print("%s%s #%u%s: ", info_->internal ? "internal " : "", sev_str(), info_->id, is_discretionary() ? "-D" : "");
    else
        print("%s: ", sev_str());
    wrap_enabled_m = wrapping;
}

void DIAGNOSTIC::flush() {
    end_line();
    if (verbose_m) show_annotated_source();
    if (info_->severity > SEV_warning) {
        if (debug_mode_m) return;
        error_count_m++;
        if (info_->severity > SEV_error) {
            if (info_->internal) abort();
            end_run(1);
        }
    }
    if (error_count_m > max_errors_m && !debug_mode_m) {
        DIAG::max_errors limit(max_errors_m);
        limit.report();
    }
}

void DIAGNOSTIC::show_annotated_source() {
    if (source_ == nullptr || suppress()) return;
    fprintf(fp(), "%*s%s\n", indent_m + wrap_indent_m, "", source_->text().c_str());
}

const char* DIAGNOSTIC::sp_print(const char* format, ...) {
    va_list args;
    va_start(args, format);
    try {
        get_sp_buffer() = USER_MSG::make_msg_str(format, args);
    } catch (const std::bad_alloc&) {
        fputs("OUT OF MEMORY - APPLICATION ABORTED\n", stderr);
        end_run(1);
    }
    va_end(args);
    return get_sp_buffer().c_str();
}

// -------------------------------------------------------------------------------------------------------------- state

void DIAGNOSTIC::push_indent(int n) {
    indent_stack_m.push_back(indent_m);
    indent_m += n;
}

void DIAGNOSTIC::pop_indent() {
    OPTASSERT(!indent_stack_m.empty());
    indent_m = indent_stack_m.back();
    indent_stack_m.pop_back();
}

void DIAGNOSTIC::push_debug_mode(bool on) {
    debug_mode_stack_m.push_back(debug_mode_m);
    debug_mode_m = on;
}

void DIAGNOSTIC::pop_debug_mode() {
    OPTASSERT(!debug_mode_stack_m.empty());
    debug_mode_m = debug_mode_stack_m.back();
    debug_mode_stack_m.pop_back();
}

void DIAGNOSTIC::reset() {
    size_t i = 0;
    for (DIAG_INFO* row = DIAG_INFO_ENTRY; row->id != 0; row++) row->severity = original_severities[i++];
    error_count_m = 0;
    max_errors_m = 100;
    fp_m = nullptr;
    diag_cols_m = 79;
    wrap_indent_m = 3;
    indent_m = 0;
    wrap_enabled_m = warnings_m = true;
    wrap_headers_m = remarks_m = advice_m = debug_m = verbose_m = display_ipos_m = display_code_m = debug_mode_m =
        false;
    indent_stack_m.clear();
    debug_mode_stack_m.clear();
    get_umsg_obj().set_warnings_are_errors(false);
}
