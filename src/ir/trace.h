// Tracing into the debug log, under --print_debug: what is traced while a `trace` object lives stands indented below
// its text.
//
//     trace scope("straightening", tree);
//     tprintf("block %d is its own successor\n", bb->dfn);
#ifndef IR_TRACE_H
#define IR_TRACE_H

struct NODE;

// Texts are not copied: they live as long as the object.
class trace {
  public:
    explicit trace(const char* text);
    trace(const char* text, const char* second);
    trace(const char* text, const NODE* tree);
    trace(const char* text, const NODE* first, const NODE* second);
    ~trace();
    trace(const trace&) = delete;
    trace& operator=(const trace&) = delete;

    static void indent(); // writes the padding of the lines in work
    static const trace* innermost();
    const trace* outer() const { return outer_; }
    const char* text() const { return text_; }

  private:
    void open(const char* text);

    const char* text_;
    const trace* outer_;
};

#endif
