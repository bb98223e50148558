// file_fixture.h - scratch files and standard descriptors for the tests of
// the file, input and log modules: a temporary directory that is removed
// with its files, whole-file reads and writes, and a descriptor (0, 1 or 2)
// pointed at a file or pipe with dup2 for the length of a scope.
#ifndef FILE_FIXTURE_H
#define FILE_FIXTURE_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

using Bytes = std::string;

inline Bytes fixture_fromHex(const std::string &h) {
    Bytes b;
    if (h == "-") return b;
    for (size_t i = 0; i + 1 < h.size(); i += 2)
        b.push_back(static_cast<char>(std::stoi(h.substr(i, 2), nullptr, 16)));
    return b;
}

inline std::string fixture_toHex(const Bytes &b) {
    static const char *digits = "0123456789abcdef";
    std::string h;
    for (unsigned char c : b) {
        h += digits[c >> 4];
        h += digits[c & 15];
    }
    return h;
}

inline void fixture_writeFile(const std::string &path, const Bytes &bytes) {
    std::ofstream f(path, std::ios::binary | std::ios::trunc);
    f << bytes;
}

inline Bytes fixture_readFile(const std::string &path) {
    std::ifstream f(path, std::ios::binary);
    std::ostringstream s;
    s << f.rdbuf();
    return s.str();
}

// A directory under the system's temporary directory, removed with its files.
class ScratchDir {
  public:
    ScratchDir() {
        char tmpl[] = "/tmp/zelbase-test-XXXXXX";
        const char *d = mkdtemp(tmpl);
        EXPECT_NE(d, nullptr);
        if (d != nullptr) dir_ = d;
    }
    ~ScratchDir() {
        std::error_code ec;
        if (!dir_.empty()) std::filesystem::remove_all(dir_, ec);
    }
    ScratchDir(const ScratchDir &) = delete;
    ScratchDir &operator=(const ScratchDir &) = delete;
    std::string path(const std::string &name) const { return dir_ + "/" + name; }

  private:
    std::string dir_;
};

// Points descriptor `fd` at `target` (an open descriptor, which it takes) until
// Restore() or the end of the scope.
class FdRedirect {
  public:
    FdRedirect(int fd, int target) : fd_(fd), saved_(dup(fd)) {
        EXPECT_GE(saved_, 0);
        EXPECT_EQ(dup2(target, fd), fd);
        close(target);
    }
    ~FdRedirect() { Restore(); }
    FdRedirect(const FdRedirect &) = delete;
    FdRedirect &operator=(const FdRedirect &) = delete;
    void Restore() {
        if (saved_ < 0) return;
        dup2(saved_, fd_);
        close(saved_);
        saved_ = -1;
    }

  private:
    int fd_;
    int saved_;
};

// What the process writes to descriptor 1 or 2 in a scope: the descriptor
// goes to a scratch file, Text() restores it and reads the file.
class FdCapture {
  public:
    explicit FdCapture(int fd)
        : file_(dir_.path("capture")),
          redirect_(fd, open(file_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600)) {}
    Bytes Text() {
        redirect_.Restore();
        return fixture_readFile(file_);
    }

  private:
    ScratchDir dir_;
    std::string file_;
    FdRedirect redirect_;
};

// Descriptor 0 reads `bytes` from a pipe whose writer is closed.
class StdinPipe {
  public:
    explicit StdinPipe(const Bytes &bytes) : redirect_(0, Make(bytes)) {}

  private:
    static int Make(const Bytes &bytes) {
        int p[2];
        EXPECT_EQ(pipe(p), 0);
        EXPECT_LE(bytes.size(), 65536u) << "more than a pipe holds";
        EXPECT_EQ(write(p[1], bytes.data(), bytes.size()), ssize_t(bytes.size()));
        close(p[1]);
        return p[0];
    }
    FdRedirect redirect_;
};

#endif
