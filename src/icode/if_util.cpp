// Opening and closing of files, the file table, the faults of an input.
#include "driver/safealloc.h"
#include "icode/if.h"
#include "ir/node.h"
#include "ir/symbol.h"
#include "ir/types.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <sys/stat.h>

namespace {

constexpr char magic_text[] = "!<icode>\n"; // ten bytes with the terminator
constexpr size_t stream_buffer = 32768;
constexpr int version_with_reserved = -83;

// Reads the magic record. False if this is no icode file that the program accepts.
bool read_magic(I_FILE& f) {
    int id;
    uint32_t size;
    f.i_read_header(id, size);
    if (id != REC_MAGIC || f.at_end()) return false;
    char magic[sizeof magic_text];
    f.i_read_raw(magic, sizeof magic);
    if (memcmp(magic, magic_text, sizeof magic) != 0) return false;
    f.version = f.i_read_s16();
    int cpu = f.i_read_s16();
    if (cpu != icode_cpu_id || f.version < icode_version_min || f.version > icode_version) return false;
    f.option_offset = f.i_read_u32();
    f.init_offset = f.i_read_u32();
    f.type_offset = f.i_read_u32();
    f.file_offset = f.i_read_u32();
    f.global_offset = f.i_read_u32();
    f.version_text = f.i_read_string();
    if (f.version >= version_with_reserved) f.reserved = f.i_read_u32();
    return !f.at_end() && f.client->cl_magic(f.version, cpu);
}

// The stream's bytes from its position on. A file is read in one sweep; the sections are places in this copy.
bool slurp(FILE* stream, std::vector<uint8_t>& to) {
    struct stat status;
    long at = ftell(stream);
    if (at >= 0 && fileno(stream) >= 0 && fstat(fileno(stream), &status) == 0 && S_ISREG(status.st_mode))
        to.reserve(static_cast<size_t>(std::max<long>(0, status.st_size - at)));
    uint8_t chunk[stream_buffer];
    size_t n;
    while ((n = fread(chunk, 1, sizeof chunk, stream)) != 0) to.insert(to.end(), chunk, chunk + n);
    return ferror(stream) == 0;
}

} // namespace

I_FILE* if_open(FILE* stream, IF_CLIENT* client) {
    auto* f = new I_FILE;
    f->stream = stream;
    f->client = client;
    f->base = std::max(0L, ftell(stream));
    if (!slurp(stream, f->input) || !read_magic(*f)) {
        f->if_discard();
        return nullptr;
    }
    f->stream_size = static_cast<long>(f->input.size());
    if_node_table_init();
    client->cl_source(f->version_text.c_str());
    if (f->option_offset != 0) f->if_read_options();
    return f;
}

I_FILE* if_create(FILE* stream, TYPE_PKG* types, const char* version_text) {
    auto* f = new I_FILE;
    f->stream = stream;
    f->writing = true;
    f->types = types;
    f->version_text = version_text;
    f->base = std::max(0L, ftell(stream));
    f->buffer.reserve(stream_buffer);
    f->if_write_magic();
    return f;
}

// Offsets are of fixed width, so the record has the same length when it is written again at the end.
void I_FILE::if_write_magic() {
    i_write_raw(magic_text, sizeof magic_text);
    i_write_i16(icode_version);
    i_write_i16(icode_cpu_id);
    for (uint32_t offset : {option_offset, init_offset, type_offset, file_offset, global_offset}) i_write_i32(offset);
    i_write_string(version_text.c_str());
    i_write_i32(0);
    i_flush(REC_MAGIC);
}

int I_FILE::if_close(bool mark_all, bool leave_bare) {
    if (writing && !leave_bare) {
        i_write_eof();
        if_write_all_options();
        if_write_all_types(mark_all);
        if_write_all_files();
        if_write_all_globals();
        if_seek(0);
        if_write_magic();
    }
    bool bad = writing && fflush(stream) != 0;
    bad |= ferror(stream) != 0;
    bad |= fclose(stream) != 0;
    delete this;
    return bad ? 1 : 0;
}

void I_FILE::if_discard() {
    fclose(stream);
    delete this;
}

long I_FILE::if_tell() const { return writing ? ftell(stream) - base : static_cast<long>(cursor); }

void I_FILE::if_seek(long position) {
    if (writing) {
        fseek(stream, base + position, SEEK_SET);
        return;
    }
    if (position < 0 || static_cast<size_t>(position) > input.size())
        bad_input("section offset beyond the end of the file");
    cursor = static_cast<size_t>(position);
}

void I_FILE::if_flush() {
    if (writing) fflush(stream);
}

uint32_t I_FILE::i_enter_file_name(const char* name) {
    if (writing) {
        if (name == last_file) return last_file_id;
        auto [entry, added] = file_index.try_emplace(name, static_cast<uint32_t>(files.size()));
        if (added) files.push_back(shared_text(name));
        last_file = name;
        last_file_id = entry->second;
        return last_file_id;
    }
    files.push_back(shared_text(name));
    return static_cast<uint32_t>(files.size() - 1);
}

const char* I_FILE::i_get_file_name(uint32_t index) const { return index < files.size() ? files[index] : nullptr; }

uint32_t I_FILE::i_get_file_id(const char* name) const {
    for (size_t i = 1; i < files.size(); i++)
        if (strcmp(files[i], name) == 0) return static_cast<uint32_t>(i);
    return 0;
}

void I_FILE::if_enter_global(SYMTAB* sym) {
    sym->depth = 0;
    sym->index = static_cast<uint32_t>(globals.size());
    globals.push_back(sym);
    if (writing && sym->psn != nullptr) i_enter_file_name(sym->psn->file != nullptr ? sym->psn->file : "NO_FILE");
}

void I_FILE::if_enter_local(SYMTAB* sym) {
    sym->depth = static_cast<uint32_t>(block_depth);
    sym->index = static_cast<uint32_t>(locals.size());
    locals.push_back(sym);
}

void I_FILE::bad_record() {
    fputs("\nINTERNAL ERROR: Invalid I-code record, aborting\n", stdout);
    fflush(stdout);
    fprintf(stderr, "invalid node record at offset 0x%lx\n", record_start);
    end_run(1);
}

void I_FILE::bad_eht_record() {
    fputs("\nINTERNAL ERROR: Invalid EHT record in I-code, aborting\n", stdout);
    fflush(stdout);
    fprintf(stderr, "invalid exception-table record at offset 0x%lx\n", record_start);
    end_run(1);
}

void I_FILE::bad_input(const char* what) {
    fprintf(stderr, "Invalid icode file: %s at offset 0x%lx\n", what, record_start);
    end_run(1);
}
