// USER_MSG: formats a text and reports it through one of the general messages.
#include "diag/diagnostic.h"

#include "driver/safealloc.h"

USER_MSG& get_umsg_obj() {
    static USER_MSG facade;
    return facade;
}

std::string USER_MSG::make_msg_str(const char* format, va_list args) {
    va_list again;
    va_copy(again, args);
    int length = vsnprintf(nullptr, 0, format, args);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

namespace {

template <typename MESSAGE> void report(DIAG_SRCINFO* source, const std::string& text) {
    MESSAGE message(text.c_str());
    message.set_src(source);
    message.report();
}

} // namespace

// Gives `text` the formatted message of the operation that it stands in.
#define NX_FORMAT_MESSAGE(text)                                                                                        \
    va_list args;                                                                                                      \
    va_start(args, format);                                                                                            \
    std::string text = make_msg_str(format, args);                                                                     \
    va_end(args)

void USER_MSG::debug(const char* format, ...) {
    NX_FORMAT_MESSAGE(text);
    report<DIAG::gdebug>(nullptr, text);
}

void USER_MSG::remark(const char* format, ...) {
    NX_FORMAT_MESSAGE(text);
    report<DIAG::gremark>(nullptr, text);
}

void USER_MSG::advice(const char* format, ...) {
    NX_FORMAT_MESSAGE(text);
    report<DIAG::gadvice>(nullptr, text);
}

void USER_MSG::advice(DIAG_SRCINFO* source, const char* format, ...) {
    NX_FORMAT_MESSAGE(text);
    report<DIAG::gadvice>(source, text);
}

void USER_MSG::error(const char* format, ...) {
    NX_FORMAT_MESSAGE(text);
    report<DIAG::gerror>(nullptr, text);
}

void USER_MSG::error(DIAG_SRCINFO* source, const char* format, ...) {
    NX_FORMAT_MESSAGE(text);
    report<DIAG::gerror>(source, text);
}

void USER_MSG::give_warning(DIAG_SRCINFO* source, unsigned id, const std::string& text) {
    const DIAG_INFO* row = DIAGNOSTIC::get_info(static_cast<int>(id));
    if (row != nullptr && row->severity == SEV_suppressed)
        delete source;
    else if (warnings_are_errors_)
        report<DIAG::gerror>(source, text);
    else
        report<DIAG::gwarning>(source, text);
}

void USER_MSG::warning(unsigned id, const char* format, ...) {
    NX_FORMAT_MESSAGE(text);
    give_warning(nullptr, id, text);
}

void USER_MSG::warning(DIAG_SRCINFO* source, unsigned id, const char* format, ...) {
    NX_FORMAT_MESSAGE(text);
    give_warning(source, id, text);
}

void USER_MSG::apperror(const char* format, ...) {
    NX_FORMAT_MESSAGE(text);
    report<DIAG::gapperror>(nullptr, text);
}

// In debug mode nothing is counted and a fatal message returns; these two end the run all the same.
void USER_MSG::fatal(const char* format, ...) {
    NX_FORMAT_MESSAGE(text);
    report<DIAG::gfatal>(nullptr, text);
    end_run(1);
}

void USER_MSG::fatal(DIAG_SRCINFO* source, const char* format, ...) {
    NX_FORMAT_MESSAGE(text);
    report<DIAG::gfatal>(source, text);
    end_run(1);
}

void USER_MSG::die(const char* file, const char* format, ...) {
    NX_FORMAT_MESSAGE(text);
    report<DIAG::gdie>(nullptr, "(" + std::string(file) + ": " + text + ")");
    end_run(1);
}
