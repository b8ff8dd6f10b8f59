#include "ir/trace.h"

#include "ir/infix.h"
#include "ir/vars.h"

namespace {

constexpr int step = 2; // blanks for each open trace

const trace* innermost_trace;

} // namespace

void trace::open(const char* text) {
    text_ = text;
    outer_ = innermost_trace;
    innermost_trace = this;
    trace_indentation += step;
}

trace::trace(const char* text) {
    tprintf("%s\n", text);
    open(text);
}

trace::trace(const char* text, const char* second) {
    tprintf("%s %s\n", text, second);
    open(text);
}

trace::trace(const char* text, const NODE* tree) {
    if (print_debug) tprintf("%s: %s\n", text, stmt2infix(tree).c_str());
    open(text);
}

trace::trace(const char* text, const NODE* first, const NODE* second) {
    if (print_debug) tprintf("%s: %s | %s\n", text, stmt2infix(first).c_str(), stmt2infix(second).c_str());
    open(text);
}

trace::~trace() {
    trace_indentation -= step;
    innermost_trace = outer_;
}

void trace::indent() {
    if (print_debug) dprintf("%*s", trace_indentation, "");
}

const trace* trace::innermost() { return innermost_trace; }
