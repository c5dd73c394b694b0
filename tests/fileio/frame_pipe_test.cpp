// The compressing pipe as an application sees it: nothing on its standard
// output or error, no SIGPIPE death, no hang, no descriptor or child left
// behind after failures.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <vector>

#include "common/procstate.h"
#include "support.h"

namespace {

using velto_test::FileTest;
using velto_test::nochildren;
using velto_test::opendescriptors;



// Sends one of the standard descriptors to a file for the duration.
class Redirect {
 public:
  Redirect(int fd, const std::string &file) : fd_(fd) {
    std::fflush(nullptr);
    saved_ = dup(fd);
    int f = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(f, fd);
    close(f);
  }
  ~Redirect() {
    std::fflush(nullptr);
    dup2(saved_, fd_);
    close(saved_);
  }

 private:
  int fd_, saved_;
};

// Puts a folder with a stand-in `gzip` first on PATH for the duration.
class FakeGzip {
 public:
  FakeGzip(const std::string &dir, const std::string &script) {
    std::string p = dir + "/gzip";
    {
      std::ofstream(p) << "#!/bin/sh\n" << script << "\n";
    }
    chmod(p.c_str(), 0755);
    old_ = std::getenv("PATH") ? std::getenv("PATH") : "";
    setenv("PATH", (dir + ":" + old_).c_str(), 1);
  }
  ~FakeGzip() { setenv("PATH", old_.c_str(), 1); }

 private:
  std::string old_;
};

class FramePipe : public FileTest {
 protected:
  // A model of n named columns in one row: its MPS text is far larger than
  // a pipe's buffer.
  void bigmodel(int n) {
    std::vector<double> obj(n, 1), lb(n, 0), ub(n, 1), val(n, 1);
    std::vector<int> beg(n), cnt(n, 1), ind(n, 0);
    std::vector<std::string> names(n);
    std::vector<char *> ptr(n);
    for (int j = 0; j < n; ++j) {
      beg[j] = j;
      names[j] = "column_with_a_long_name_" + std::to_string(j);
      ptr[j] = names[j].data();
    }
    double rhs = 1;
    char sense = 'G';
    char rname[] = "cover";
    char *rptr[] = {rname};
    ASSERT_EQ(VLTcopylpwnames(env_, lp_, n, 1, 1, obj.data(), &rhs, &sense, beg.data(),
                              cnt.data(), ind.data(), val.data(), lb.data(), ub.data(), nullptr,
                              ptr.data(), rptr),
              0);
  }
};

TEST_F(FramePipe, CompressedWriteSendsNothingToStdoutAndReadsBack) {
  bigmodel(3000);
  std::string out = path("stdout.txt"), gz = path("model.mps.gz");
  {
    Redirect r(1, out);
    EXPECT_EQ(VLTwriteprob(env_, lp_, gz.c_str(), nullptr), 0);
  }
  EXPECT_EQ(slurp(out), "");
  EXPECT_GT(slurp(gz).size(), 100u);
  VLTLPptr back = VLTcreateprob(env_, nullptr, "back");
  ASSERT_EQ(VLTreadcopyprob(env_, back, gz.c_str(), nullptr), 0);
  EXPECT_EQ(VLTgetnumcols(env_, back), 3000);
  EXPECT_EQ(VLTgetnumnz(env_, back), 3000);
  VLTfreeprob(env_, &back);
  EXPECT_TRUE(nochildren());
}

TEST_F(FramePipe, FailedCompressedReadsLeakNoDescriptorOrChildAndKeepStderrQuiet) {
  std::string bad = writefile("bad.mps.gz", "this is not gzip data\n");
  std::string trunc = path("trunc.mps.gz");
  {
    bigmodel(2000);
    ASSERT_EQ(VLTwriteprob(env_, lp_, path("whole.mps.gz").c_str(), nullptr), 0);
    std::string whole = slurp(path("whole.mps.gz"));
    std::ofstream(trunc, std::ios::binary) << whole.substr(0, whole.size() / 2);
  }
  std::string errfile = path("stderr.txt");
  int fds = opendescriptors();
  {
    Redirect r(2, errfile);
    for (int k = 0; k < 50; ++k) {
      clearlogs();
      EXPECT_NE(VLTreadcopyprob(env_, lp_, (k % 2 ? bad : trunc).c_str(), nullptr), 0);
      EXPECT_NE(err_, "");
    }
  }
  EXPECT_EQ(opendescriptors(), fds);
  EXPECT_TRUE(nochildren());
  EXPECT_EQ(slurp(errfile), "");
  // The model that was there is still there.
  EXPECT_EQ(VLTgetnumcols(env_, lp_), 2000);
}

TEST_F(FramePipe, CompressorThatDiesGivesAnErrorNotSigpipe) {
  bigmodel(3000);
  int fds = opendescriptors();
  {
    FakeGzip fake(dir_.string(), "exit 1");
    clearlogs();
    std::string gz = path("dead.mps.gz");
    EXPECT_EQ(VLTwriteprob(env_, lp_, gz.c_str(), nullptr), 1422);
    EXPECT_EQ(err_, "VELTO Error  1422: Could not open file '" + gz + "' for writing.\n");
    // Reading through a decompressor that says nothing and fails.
    std::string any = writefile("any.mps.gz", "x");
    clearlogs();
    EXPECT_EQ(VLTreadcopyprob(env_, lp_, any.c_str(), nullptr), 1441);
    EXPECT_EQ(VLTgetnumcols(env_, lp_), 3000);
  }
  EXPECT_EQ(opendescriptors(), fds);
  EXPECT_TRUE(nochildren());
}

TEST_F(FramePipe, MissingCompressorIsAnErrorNotAHang) {
  bigmodel(10);
  std::string old = std::getenv("PATH") ? std::getenv("PATH") : "";
  setenv("PATH", path("empty").c_str(), 1);
  int ws = VLTwriteprob(env_, lp_, path("x.mps.gz").c_str(), nullptr);
  std::string in = writefile("in.mps.gz", "x");
  int rs = VLTreadcopyprob(env_, lp_, in.c_str(), nullptr);
  setenv("PATH", old.c_str(), 1);
  EXPECT_EQ(ws, 1422);
  EXPECT_EQ(rs, 1423);
  EXPECT_EQ(VLTgetnumcols(env_, lp_), 10);
  EXPECT_TRUE(nochildren());
}

}  // namespace
