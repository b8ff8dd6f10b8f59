// Files of the host below one folder, for a program that shall not reach any other.
//
// Names are taken part by part from the folder's own descriptor: ".." goes back one part and never above the folder,
// and a symbolic link is not followed, wherever it leads. So no name, and no change of the folder meanwhile, leads out
// of it.
#ifndef NXRUN_HOST_FOLDER_H
#define NXRUN_HOST_FOLDER_H

#include <string>

class HOST_FOLDER {
  public:
    explicit HOST_FOLDER(const std::string& path); // "" for none: every name is refused with EACCES
    ~HOST_FOLDER();
    HOST_FOLDER(const HOST_FOLDER&) = delete;
    HOST_FOLDER& operator=(const HOST_FOLDER&) = delete;

    // Whether the folder could be opened (also true for none).
    bool is_good() const { return wanted_.empty() || root_ >= 0; }

    // A descriptor of a plain file, which the caller closes, or -1 with the reason in errno. `flags` as of open(2).
    int open(const std::string& name, int flags) const;
    // True, or false with the reason in errno.
    bool remove(const std::string& name) const;
    bool rename(const std::string& from, const std::string& to) const;

  private:
    bool find(const std::string& name, int& folder, std::string& last) const;
    std::string wanted_;
    int root_ = -1;
};

#endif
