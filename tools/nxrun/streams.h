// The streams of a running program: standard input, output and error, and files of the host.
//
// A text stream has one byte for each character, of any value up to 255, and line ends as they are; a character above
// 255 is a fault of the stream in a file, and loses its upper half on standard output and error. A binary stream ("b"
// in the mode) has two bytes for each unit, low byte first, so that every object comes back as it was.
#ifndef NXRUN_STREAMS_H
#define NXRUN_STREAMS_H

#include "host_folder.h"
#include "memory.h"

#include <functional>
#include <map>
#include <memory>

class VM;

// What a run lets a program see of the host.
struct LIBRARY_OPTIONS {
    std::string files;                    // folder in which files are opened; "" for none
    std::vector<std::string> environment; // NAME=VALUE
    int64_t epoch = 946684800;            // what time() begins with: 2000-01-01 00:00:00
};

// How fopen shall open a file.
struct OPEN_MODE {
    bool reads = false, writes = false, appends = false, creates = false, truncates = false, exclusive = false;
    bool binary = false;
    int flags() const;        // of open(2)
    const char* text() const; // of fdopen(3)
};

class STREAM {
  public:
    enum KIND { INPUT, OUTPUT, ERRORS, HOST_FILE, CLOSED };
    STREAM(VM&, KIND);
    ~STREAM();
    STREAM(const STREAM&) = delete;
    STREAM& operator=(const STREAM&) = delete;

    void attach(FILE* file, const OPEN_MODE&); // takes the file; whatever the stream was before is closed
    bool close();                              // false if something could not be written

    // A fault sets errno of the host, and the stream's flag where C says so.
    int get();            // next character, -1 at the end or after a fault
    bool unget(uint16_t); // false if there is no more room
    bool put(uint16_t);
    bool put(const std::u16string&);
    bool flush();
    int64_t tell();                      // in characters from the begin; -1
    bool seek(int64_t offset, int from); // from: 0 the begin, 1 here, 2 the end

    bool at_end = false, failed = false; // as feof and ferror tell

  private:
    enum LAST { NOTHING, READ, WRITE };
    bool fault(int number);
    bool turn_to(LAST);
    int get_from_file();
    int64_t size();

    VM& vm_;
    KIND kind_;
    FILE* file_ = nullptr;
    bool binary_ = false, reads_, writes_;
    LAST last_ = NOTHING;
    std::vector<uint16_t> pushed_back_;
};

class STREAMS {
  public:
    STREAMS(VM&, const std::string& folder);

    STREAM& input() { return input_; }
    STREAM& output() { return output_; }
    STREAM& errors() { return errors_; }
    // The open stream of that handle; traps if there is none.
    STREAM& of(int64_t handle);

    // Each gives a handle, or 0 with the reason in errno of the host.
    ADDRESS open(const std::string& name, const OPEN_MODE&);
    ADDRESS open_temporary();
    bool reopen(STREAM&, const std::string& name, const OPEN_MODE&);
    bool close(int64_t handle);
    bool flush_all(); // false if something could not be written

    const HOST_FOLDER& folder() const { return folder_; }

  private:
    ADDRESS add(FILE*, const OPEN_MODE&);
    FILE* open_file(const std::string& name, const OPEN_MODE&);
    static constexpr size_t most_open = 64;

    VM& vm_;
    HOST_FOLDER folder_;
    STREAM input_, output_, errors_;
    std::map<ADDRESS, std::unique_ptr<STREAM>> files_; // by handle
};

// The mode that fopen's text asks for; false if it is none.
bool parse_open_mode(const std::string& text, OPEN_MODE&);

#endif
