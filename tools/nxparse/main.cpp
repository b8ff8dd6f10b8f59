// nxparse: C to icode. The command line, the run of Clang, and the output file.
#include "front.h"
#include "literals.h"
#include "target.h"

#include "clang/Frontend/PreprocessorOutputOptions.h"
#include "clang/Frontend/Utils.h"
#include "clang/Lex/PreprocessorOptions.h"
#include "llvm/Support/raw_ostream.h"

#include <cstdlib>
#include <cstring>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace clang;

namespace {

const char* const version_text = "nxparse 1.0 (C99 to icode)";

const char* const help_text =
    "Usage: nxparse [options] -o OUT.ic IN.c\n"
    "Translates one C file into an icode file. Without -o the output is IN with the extension \".ic\".\n"
    "  -o FILE              the output\n"
    "  -I DIR, -isystem DIR folder of headers\n"
    "  -include FILE        reads FILE first\n"
    "  -D NAME[=VALUE], -U NAME\n"
    "  -E                   only preprocesses, to standard output or to -o FILE\n"
    "  -dM                  only lists the macros that are defined at the end\n"
    "  -fsyntax-only        only checks\n"
    "  -std=STD             c89, c99, gnu99 (the default), c11, gnu11, c17, gnu17\n"
    "  -w                   no warnings\n"
    "  -W...                warnings, as a C compiler takes them; -Werror makes them errors\n"
    "  --help, --version\n"
    "Exit status: 0, or 1 after an error; no output is left then.\n";

struct COMMAND {
    std::string input, output;
    bool preprocess = false, check_only = false;
    bool list_macros = false;            // with preprocess: only the macros that are defined at the end
    std::vector<std::string> clang_args; // for Clang's front end
    std::vector<std::string> warnings;   // likewise, in front of our own
};

[[noreturn]] void usage_error(const std::string& text) {
    fprintf(stderr, "nxparse: error: %s\n", text.c_str());
    exit(1);
}

bool starts_with(const char* s, const char* with) { return strncmp(s, with, strlen(with)) == 0; }

COMMAND parse_command(int argc, char** argv) {
    COMMAND c;
    for (int i = 1; i < argc; ++i) {
        const char* a = argv[i];
        // The value of an option that may be glued to it.
        auto operand = [&](const char* option) -> std::string {
            if (a[strlen(option)] != 0) return a + strlen(option);
            if (i + 1 >= argc) usage_error(std::string("option '") + option + "' needs a value");
            return argv[++i];
        };
        if (strcmp(a, "--help") == 0) {
            fputs(help_text, stdout);
            exit(0);
        }
        if (strcmp(a, "--version") == 0) {
            puts(version_text);
            exit(0);
        }
        if (a[0] != '-' || a[1] == 0) {
            if (!c.input.empty()) usage_error(std::string("more than one input: '") + c.input + "' and '" + a + "'");
            c.input = a;
        } else if (starts_with(a, "-o")) {
            c.output = operand("-o");
        } else if (strcmp(a, "-E") == 0) {
            c.preprocess = true;
        } else if (strcmp(a, "-dM") == 0) {
            c.preprocess = c.list_macros = true;
        } else if (strcmp(a, "-fsyntax-only") == 0) {
            c.check_only = true;
        } else if (starts_with(a, "-isystem") || starts_with(a, "-include") || starts_with(a, "-iquote")) {
            const char* option = starts_with(a, "-isystem")   ? "-isystem"
                                 : starts_with(a, "-include") ? "-include"
                                                              : "-iquote";
            c.clang_args.push_back(option);
            c.clang_args.push_back(operand(option));
        } else if (a[1] == 'I' || a[1] == 'D' || a[1] == 'U') {
            const char option[] = {'-', a[1], 0};
            c.clang_args.push_back(option);
            c.clang_args.push_back(operand(option));
        } else if (starts_with(a, "-std=")) {
            c.clang_args.push_back(a);
        } else if (strcmp(a, "-ansi") == 0) {
            c.clang_args.push_back("-std=c89");
        } else if (strcmp(a, "-w") == 0) {
            c.clang_args.push_back("-w");
        } else if (starts_with(a, "-pedantic")) {
            c.warnings.push_back(a);
        } else if (a[1] == 'W' && !starts_with(a, "-Wl,") && !starts_with(a, "-Wp,") && !starts_with(a, "-Wa,")) {
            c.warnings.push_back(a);
        } else if (strcmp(a, "-c") == 0 || a[1] == 'O' || strcmp(a, "-g") == 0 || strcmp(a, "-fsigned-char") == 0) {
            // Accepted and without effect: optimizing is another program's work.
        } else {
            usage_error(std::string("unknown option '") + a + "'");
        }
    }
    if (c.input.empty()) usage_error("no input file; see --help");
    if (c.output.empty() && !c.preprocess && !c.check_only) {
        if (c.input == "-") usage_error("standard input needs -o");
        size_t slash = c.input.rfind('/'), dot = c.input.rfind('.');
        bool has_extension = dot != std::string::npos && dot != 0 && (slash == std::string::npos || dot > slash + 1);
        c.output = (has_extension ? c.input.substr(0, dot) : c.input) + ".ic";
    }
    struct stat in, out;
    if (!c.output.empty() && stat(c.input.c_str(), &in) == 0 && stat(c.output.c_str(), &out) == 0 &&
        in.st_dev == out.st_dev && in.st_ino == out.st_ino)
        usage_error("the output '" + c.output + "' is the input");
    return c;
}

// Warnings that Clang decides with a char of 8 bits, or that mean nothing here.
const char* const muted[] = {"-Wno-constant-conversion",
                             "-Wno-bitfield-constant-conversion",
                             "-Wno-tautological-compare",
                             "-Wno-tautological-constant-compare",
                             "-Wno-tautological-constant-out-of-range-compare",
                             "-Wno-integer-overflow",
                             "-Wno-array-bounds",
                             "-Wno-shift-count-overflow",
                             "-Wno-shift-overflow",
                             "-Wno-division-by-zero",
                             "-Wno-fortify-source",
                             "-Wno-excess-initializers",
                             "-Wno-sizeof-array-div",
                             "-Wno-literal-range",
                             "-Wno-builtin-requires-header",
                             "-Wno-incompatible-library-redeclaration",
                             "-Wno-pointer-to-int-cast",
                             "-Wno-int-to-pointer-cast",
                             "-Wno-implicit-const-int-float-conversion"};

// Clang's errors that it decides with a char of 8 bits are left out: front.cpp decides them anew.
class NX_DIAGNOSTICS final : public TextDiagnosticPrinter {
  public:
    NX_DIAGNOSTICS(llvm::raw_ostream& os, DiagnosticOptions* options) : TextDiagnosticPrinter(os, options) {}
    void HandleDiagnostic(DiagnosticsEngine::Level level, const Diagnostic& info) override {
        if (info.getID() == diag::err_static_assert_failed ||
            info.getID() == diag::err_static_assert_requirement_failed)
            return;
        TextDiagnosticPrinter::HandleDiagnostic(level, info);
    }
};

// The output: under a name of its own until it is complete, then in the place of an older one. A run that fails leaves
// neither. What is no plain file, a device or a pipe, gets a copy.
class OUTPUT_FILE {
  public:
    explicit OUTPUT_FILE(const std::string& path) : path_(path), temporary_(path + ".part" + std::to_string(getpid())) {
        struct stat there;
        copied_ = stat(path.c_str(), &there) == 0 && !S_ISREG(there.st_mode);
        if (copied_)
            temporary_ = (getenv("TMPDIR") != nullptr ? getenv("TMPDIR") : P_tmpdir) + std::string("/nxparse.") +
                         std::to_string(getpid());
    }
    FILE* open() {
        FILE* f = fopen(temporary_.c_str(), "w+b");
        if (f == nullptr) {
            complain();
            return nullptr;
        }
        pending = this;
        atexit(discard);
        return f;
    }
    bool keep() {
        pending = nullptr;
        bool good = copied_ ? copy() : rename(temporary_.c_str(), path_.c_str()) == 0;
        if (!good) complain();
        if (!good || copied_) unlink(temporary_.c_str());
        return good;
    }

    static void discard() {
        if (pending != nullptr) unlink(pending->temporary_.c_str());
        pending = nullptr;
    }

  private:
    bool copy() {
        auto text = llvm::MemoryBuffer::getFile(temporary_);
        FILE* f = text ? fopen(path_.c_str(), "wb") : nullptr;
        if (f == nullptr) return false;
        bool good = fwrite((*text)->getBufferStart(), 1, (*text)->getBufferSize(), f) == (*text)->getBufferSize();
        return fclose(f) == 0 && good;
    }
    void complain() const {
        fprintf(stderr, "nxparse: error: cannot write '%s': %s\n", path_.c_str(), strerror(errno));
    }

    static OUTPUT_FILE* pending;
    std::string path_, temporary_;
    bool copied_ = false;
};
OUTPUT_FILE* OUTPUT_FILE::pending = nullptr;

class NX_CONSUMER final : public ASTConsumer {
  public:
    NX_CONSUMER(CompilerInstance& ci, const COMMAND& command) : ci_(ci), command_(command) {}
    void Initialize(ASTContext&) override { watch_loop_pragmas(ci_.getPreprocessor(), loop_pragmas_); }
    void HandleTranslationUnit(ASTContext& ctx) override {
        if (failed()) return;
        tp_alloc();
        if (tp->void_type == nullptr) tp->init_type_pkg();
        if_node_table_init();
        OUTPUT_FILE file(command_.output.empty() ? "nxparse.out" : command_.output);
        FILE* stream = command_.check_only ? tmpfile() : file.open();
        if (stream == nullptr) {
            ctx.getDiagnostics().setSuppressAllDiagnostics(true);
            broken = true;
            return;
        }
        ICODE_WRITER writer(stream, version_text);
        FRONT front(ctx, writer, loop_pragmas_);
        front.translate_unit();
        broken = failed();
        if (!broken && !writer.finish()) {
            fprintf(stderr, "nxparse: error: cannot write '%s'\n", command_.output.c_str());
            broken = true;
        }
        if (broken || command_.check_only)
            OUTPUT_FILE::discard();
        else if (!file.keep())
            broken = true;
    }
    static bool broken;

  private:
    bool failed() const { return ci_.getDiagnosticClient().getNumErrors() != 0; }
    CompilerInstance& ci_;
    const COMMAND& command_;
    std::vector<LOOP_PRAGMA> loop_pragmas_;
};
bool NX_CONSUMER::broken = false;

class NX_ACTION final : public ASTFrontendAction {
  public:
    explicit NX_ACTION(const COMMAND& command) : command_(command) {}
    std::unique_ptr<ASTConsumer> CreateASTConsumer(CompilerInstance& ci, llvm::StringRef) override {
        return std::make_unique<NX_CONSUMER>(ci, command_);
    }

  private:
    const COMMAND& command_;
};

class NX_PREPROCESS final : public PreprocessorFrontendAction {
  public:
    explicit NX_PREPROCESS(const COMMAND& command) : command_(command) {}
    void ExecuteAction() override {
        std::string text;
        llvm::raw_string_ostream os(text);
        PreprocessorOutputOptions options;
        options.ShowCPP = options.ShowLineMarkers = !command_.list_macros;
        options.ShowMacros = command_.list_macros;
        DoPrintPreprocessedInput(getCompilerInstance().getPreprocessor(), &os, options);
        os.flush();
        if (getCompilerInstance().getDiagnosticClient().getNumErrors() != 0) return;
        FILE* f = stdout;
        OUTPUT_FILE file(command_.output);
        if (!command_.output.empty()) f = file.open();
        bool good = f != nullptr && fwrite(text.data(), 1, text.size(), f) == text.size() && fflush(f) == 0;
        if (f != nullptr && f != stdout) good = fclose(f) == 0 && good && file.keep();
        if (!good) NX_CONSUMER::broken = true;
    }

  private:
    const COMMAND& command_;
};

int compile(const COMMAND& command) {
    std::vector<std::string> args = {"-triple",
                                     "unknown-unknown-none-elf",
                                     "-x",
                                     "c",
                                     "-std=gnu99",
                                     "-fno-builtin",
                                     "-undef",
                                     "-nobuiltininc",
                                     "-nostdsysteminc",
                                     "-internal-isystem",
                                     header_folder,
                                     "-fbracket-depth",
                                     "2048",
                                     "-disable-free"};
    for (const std::string& macro : predefined_macros()) args.push_back("-D" + macro);
    args.insert(args.end(), command.clang_args.begin(), command.clang_args.end());
    args.insert(args.end(), command.warnings.begin(), command.warnings.end());
    args.insert(args.end(), std::begin(muted), std::end(muted));
    args.push_back(command.input);
    std::vector<const char*> pointers;
    for (const std::string& a : args) pointers.push_back(a.c_str());

    auto options = llvm::makeIntrusiveRefCnt<DiagnosticOptions>();
    auto* printer = new NX_DIAGNOSTICS(llvm::errs(), options.get());
    CompilerInstance ci;
    ci.createDiagnostics(printer, true);
    auto invocation = std::make_shared<CompilerInvocation>();
    if (!CompilerInvocation::CreateFromArgs(*invocation, pointers, ci.getDiagnostics())) return 1;
    if (!invocation->getLangOpts()->GNUMode) invocation->getPreprocessorOpts().addMacroDef("__STRICT_ANSI__=1");
    ci.setInvocation(invocation);
    ProcessWarningOptions(ci.getDiagnostics(), ci.getDiagnosticOpts(), false);
    auto files = make_file_system();
    if (!command.preprocess) files = with_large_escapes(files);
    ci.createFileManager(files);
    ci.createSourceManager(ci.getFileManager());
    ci.setTarget(make_target());
    ci.getTarget().adjust(ci.getDiagnostics(), ci.getLangOpts());

    std::unique_ptr<FrontendAction> action;
    if (command.preprocess)
        action = std::make_unique<NX_PREPROCESS>(command);
    else
        action = std::make_unique<NX_ACTION>(command);
    if (!action->BeginSourceFile(ci, ci.getFrontendOpts().Inputs[0])) return 1;
    bool failed = static_cast<bool>(action->Execute());
    action->EndSourceFile();
    return failed || NX_CONSUMER::broken || ci.getDiagnosticClient().getNumErrors() != 0 ? 1 : 0;
}

// An output of an earlier run must not be taken for that of a failed one.
void remove_old_output(const COMMAND& command) {
    struct stat there;
    if (!command.output.empty() && stat(command.output.c_str(), &there) == 0 && S_ISREG(there.st_mode))
        unlink(command.output.c_str());
}

struct RUN {
    const COMMAND* command;
    int status;
};

void* run_compile(void* data) {
    auto* run = static_cast<RUN*>(data);
    run->status = compile(*run->command);
    return nullptr;
}

} // namespace

int main(int argc, char** argv) {
    COMMAND command = parse_command(argc, argv);
    RUN run{&command, 1};
    // Deeply nested programs need a deep stack; pages that are not used cost nothing.
    for (size_t stack = size_t{1} << 30; stack >= size_t{1} << 23; stack >>= 1) {
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_t thread;
        if (pthread_attr_setstacksize(&attributes, stack) == 0 &&
            pthread_create(&thread, &attributes, run_compile, &run) == 0) {
            pthread_join(thread, nullptr);
            fflush(stdout);
            OUTPUT_FILE::discard();
            if (run.status != 0) remove_old_output(command);
            _exit(run.status); // the libraries' tables need no taking down
        }
    }
    fprintf(stderr, "nxparse: error: no memory for the stack\n");
    return 1;
}
