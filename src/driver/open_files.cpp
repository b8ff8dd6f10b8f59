#include "driver/open_files.h"

#include "driver/debug_log.h"
#include "driver/filename.h"
#include "driver/global_flags.h"
#include "driver/option_sets.h"
#include "driver/safealloc.h"
#include "icode/if.h"
#include "icode/opt_client.h"
#include "icode/write.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <sys/stat.h>

char i_file_name[file_name_size];
char o_file_name[file_name_size];

namespace {

int arg_count; // of the command line; 0 once its text is in the output
char** arg_values;
int arg_cursor;

bool output_is_open; // the output file exists because of this run

void copy_name(char (&to)[file_name_size], const char* from) {
    if (strlen(from) >= file_name_size) {
        fprintf(stderr, "\n>>>> OPTIMIZER ERROR: file name too long\n\n");
        end_run(1);
    }
    strcpy(to, from);
}

// Options are consumed; the first two other words are the names. Returns the count of other words.
int read_command_line() {
    int positional = 0;
    for (arg_cursor = 1; arg_cursor < arg_count && arg_values[arg_cursor] != nullptr;) {
        const char* word = arg_values[arg_cursor++];
        if (word[0] == '-' && word[1] != 0) {
            const char* error_at = nullptr;
            if (!cmdline_options->process_option(word + 1, &error_at)) report_invalid_option(word);
            continue;
        }
        positional++;
        if (positional == 1)
            copy_name(i_file_name, word);
        else if (positional == 2)
            copy_name(o_file_name, word);
        else if (positional > 3)
            fprintf(stderr, "\n>>>> OPTIMIZER ERROR: Unexpected options: %s %s %s\n", i_file_name, o_file_name, word);
    }
    return positional;
}

void open_input() {
    FILE* stream = fopen(i_file_name, "rb");
    struct stat status;
    if (stream != nullptr && fstat(fileno(stream), &status) == 0 && S_ISDIR(status.st_mode)) {
        fclose(stream);
        stream = nullptr;
        errno = EISDIR;
    }
    if (stream == nullptr) {
        fprintf(stderr, "\n>> Cannot Open Input icode File, %s : %s, Aborting\n", strerror(errno), i_file_name);
        end_run(1);
    }
    i_file = if_open(stream, opt_client());
    if (i_file == nullptr) {
        fprintf(stderr, "\n>> Error when opening input icode file : %s, Aborting\n", i_file_name);
        end_run(1);
    }
}

void choose_output_name(int positional) {
    if (positional == 1) copy_name(o_file_name, fn_addext(fn_delext(i_file_name), ".opt", 1).c_str());
    if (positional > 2) {
        fputs("\n>>>> OPTIMIZER ERROR: Garbage on command line\n\n", stderr);
        end_run(1);
    }
    struct stat in, out;
    if (stat(i_file_name, &in) == 0 && stat(o_file_name, &out) == 0 && in.st_dev == out.st_dev &&
        in.st_ino == out.st_ino) {
        fprintf(stderr, "\n>>>> OPTIMIZER ERROR: the output file is the input file: %s\n\n", o_file_name);
        end_run(1);
    }
}

void open_info_file() {
    bool wanted = opt_level() >= 3 || print_debug_option() != 0;
    if (!wanted) file_options->clearopt(OPT_gen_opt_info);
    int level = static_cast<int>(file_options->getnumarg(OPT_gen_opt_info, 0));
    if (!file_options->isset(OPT_gen_opt_info) || level == 0) return;
    std::string name = file_options->isset(OPT_opt_info_filename) ? file_options->getstrarg(OPT_opt_info_filename, 0)
                                                                  : fn_addext(fn_delext(i_file_name), ".nfo", 1);
    finfo = fopen(name.c_str(), "w");
    if (finfo == nullptr) {
        fprintf(stderr, "\n>> Cannot Open Info File, %s : %s, Aborting\n", strerror(errno), name.c_str());
        end_run(1);
    }
    write_opt_info = level;
    fprintf(finfo, "%s\n", nxopt_banner);
    fprintf(finfo, "Build Number %s\n", build_id());
}

void open_output() {
    FILE* stream = fopen(o_file_name, "wb");
    if (stream == nullptr) {
        fprintf(stderr, "\n>> Cannot Open Output icode File, %s : %s, Aborting\n", strerror(errno), o_file_name);
        end_run(1);
    }
    output_is_open = true;
    o_file = if_create(stream, tp, i_file->version_text.c_str());
    for (const OPTION_SET& set : icode_optionlist) o_file->if_enter_option_set(set.number, set.strings);
}

} // namespace

const char* build_id() { return "1"; }

const char* next_arg() {
    return arg_cursor < arg_count && arg_values[arg_cursor] != nullptr ? arg_values[arg_cursor++] : nullptr;
}

void open_files(int argc, char** argv) {
    arg_count = argc;
    arg_values = argv;
    i_file_name[0] = o_file_name[0] = 0;
    output_is_open = false;
    cmdline_options = new option_obj(true);
    option_obj::executable_name = argc > 0 && argv[0] != nullptr ? argv[0] : "nxopt";
    option_obj::next_arg = next_arg;
    int positional = read_command_line();
    if (positional == 0) {
        fprintf(stderr, "Usage: %s [-options] filename\n", option_obj::executable_name);
        end_run(1);
    }
    open_input();
    make_all_option_sets(icode_optionlist);
    if (file_options->isset(OPT_dump_options)) {
        file_options->dump(0);
        end_run(0);
    }
    reset_global_flags();
    set_global_flags(file_options);
    tp = tp_alloc();
    tp->init_type_pkg();
    i_file->if_type_init(tp);
    if (print_debug_option() != 0) {
        if (file_options->getnumarg(OPT_gen_opt_info, 0) == 0) file_options->setopt(OPT_gen_opt_info, 1L);
        if (size_speed_goal() <= 3 && file_options->isset(OPT_size_speed_goal))
            fputs("\n\t*** Optimizing code size, not speed ***\n\n", stderr);
    }
    choose_output_name(positional);
    open_info_file();
    if (print_debug_option() != 0) {
        open_debug_file(1, nullptr);
        print_debug = static_cast<int>(print_debug_option());
    }
    do_MDF_vectorization = pass_debug("SIMD") != 0 || vectorize_is_on();
    open_output();
    if (volit_vars) {
        static const char text[] = "\n>>>> Warning: All non-auto lvalues are considered VOLATILE.\n\n";
        dprintf("%s", text);
        fputs(text, stderr);
    }
    emit_cmd_line_text();
}

void emit_cmd_line_text() {
    if (arg_count == 0) return;
    std::string text = ";\t";
    for (int i = 0; i < arg_count && arg_values[i] != nullptr; i++) text += std::string(arg_values[i]) + " ";
    arg_count = 0;
    wrasmr(REC_COMMENT, text.c_str(), nullptr);
    if (!print_debug) return;
    for (const OPTION_SET& set : icode_optionlist) {
        dprintf("Option set %d%s:\n", static_cast<int>(set.number), set.number == 0 ? " (file-level options)" : "");
        for (const std::string& option : set.strings) dprintf("\t%s\n", option.c_str());
        dprintf("\n");
    }
}

namespace {

void close_logs() {
    close_debug_file();
    print_debug = 0;
    if (finfo != nullptr) {
        fputs("\n== END OF INFO OUTPUT==\n", finfo);
        fclose(finfo);
        finfo = nullptr;
    }
    write_opt_info = 0;
}

} // namespace

bool close_files() {
    I_FILE* in = i_file;
    I_FILE* out = o_file;
    i_file = o_file = nullptr;
    in->if_close(true, false);
    bool written = out->if_close(true, false) == 0;
    if (!written) {
        fprintf(stderr, "\n>> Cannot write output icode file : %s\n", o_file_name);
        remove_output_file(o_file_name);
    }
    output_is_open = false;
    close_logs();
    return written;
}

void discard_files() {
    I_FILE* in = i_file;
    I_FILE* out = o_file;
    i_file = o_file = nullptr;
    if (in != nullptr) in->if_discard();
    if (out != nullptr) out->if_discard();
    if (output_is_open) remove_output_file(o_file_name);
    output_is_open = false;
    close_logs();
}

void discard_output_in_signal() {
    if (output_is_open) remove_output_file(o_file_name);
}
