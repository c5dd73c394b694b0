// Opening, compressed pipes, suffix retry, clock and temporary folders.
#include <sys/stat.h>

#include <cstring>

#include "env/files.h"
#include "fileio/support.h"

using namespace velto_test;

TEST(FileNames, CompressedSuffixesAndCaseInsensitivePrefix) {
  EXPECT_TRUE(velto::iscompressed("x.gz"));
  EXPECT_TRUE(velto::iscompressed("x.GZ"));
  EXPECT_TRUE(velto::iscompressed("x.Gz"));
  EXPECT_TRUE(velto::iscompressed("x.Z"));
  EXPECT_FALSE(velto::iscompressed("x.z"));
  EXPECT_FALSE(velto::iscompressed("gz"));
  EXPECT_FALSE(velto::iscompressed("x.gzip"));
  EXPECT_TRUE(velto::ciprefix("ROWS", "rowsx"));
  EXPECT_FALSE(velto::ciprefix("ROWS", "row"));
  EXPECT_TRUE(velto::cisuffix(".MPS.GZ", "a.Mps.gz"));
}

TEST(FileNames, SortIndexOrdersByKey) {
  double keys[] = {5, -1, 3, 3, 0, 9, 2};
  int order[] = {0, 1, 2, 3, 4, 5, 6};
  velto::sortindex(7, keys, order);
  for (int k = 1; k < 7; ++k) EXPECT_LE(keys[order[k - 1]], keys[order[k]]);
}

TEST_F(FileTest, MissingFileWithItsSuffixIsOneErrorLineAndNoRetry) {
  int status = 0;
  std::string p = path("model.mps");
  EXPECT_EQ(velto::fileopenread(env_, p.c_str(), "r", ".mps", 0, 1, &status), nullptr);
  EXPECT_EQ(status, -1423);
  EXPECT_EQ(err_, "VELTO Error  1423: Could not open file '" + p + "' for reading.\n");
}

TEST_F(FileTest, RetryWithSuffixFindsTheFileSilently) {
  writefile("model.sav", "x");
  int status = 0;
  std::string p = path("model");
  FILE *fp = velto::fileopenread(env_, p.c_str(), "r", ".sav", 0, 1, &status);
  ASSERT_NE(fp, nullptr);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(err_, "");
  velto::fileclose(p.c_str(), &fp);
  EXPECT_EQ(fp, nullptr);
}

TEST_F(FileTest, LongNameIsCutBeforeTheSuffixOnRetry) {
  std::string longname(600, 'a');
  int status = 0;
  EXPECT_EQ(velto::fileopenread(env_, longname.c_str(), "r", ".sav", 0, 1, &status), nullptr);
  EXPECT_EQ(status, -1423);
  // Two lines: the name as given, then the 507 characters tried with ".sav".
  std::string second = "VELTO Error  1423: Could not open file '" + std::string(507, 'a') + ".sav' for reading.\n";
  ASSERT_GE(err_.size(), second.size());
  EXPECT_EQ(err_.substr(err_.size() - second.size()), second);
  EXPECT_EQ(err_.find("VELTO Error  1423: Could not open file '" + longname + "'"), 0u);
}

TEST_F(FileTest, EmptyOrNullNameIs1421) {
  int status = 0;
  EXPECT_EQ(velto::fileopenread(env_, "", "r", "", 0, 1, &status), nullptr);
  EXPECT_EQ(status, 1421);
  EXPECT_EQ(velto::fileopenread(env_, nullptr, "r", "", 0, 1, &status), nullptr);
  EXPECT_EQ(status, 1421);
}

TEST_F(FileTest, MissingCompressedFileStartsNoChild) {
  long before = velto::pipestarts();
  int status = 0;
  std::string p = path("absent.mps.gz");
  EXPECT_EQ(velto::fileopenread(env_, p.c_str(), "r", "", 0, 1, &status), nullptr);
  EXPECT_EQ(status, -1423);
  EXPECT_EQ(velto::pipestarts(), before);
  EXPECT_EQ(err_, "VELTO Error  1423: Could not open file '" + p + "' for reading.\n");
}

// A name with blanks and shell signs reaches gzip as one argument.
TEST_F(FileTest, CompressedWriteThenReadThroughPipes) {
  std::string p = path("odd name; $(echo x) 'q'.txt.gz");
  long before = velto::pipestarts();
  FILE *w = velto::fileopenwrite(p.c_str(), "w", 1);
  ASSERT_NE(w, nullptr);
  std::string text;
  for (int i = 0; i < 20000; ++i) text += "line " + std::to_string(i) + "\n";
  std::fputs(text.c_str(), w);
  EXPECT_EQ(velto::fileclose(p.c_str(), &w), 0);
  EXPECT_EQ(velto::pipestarts(), before + 1);
  // The file on disk is gzip data, not the text.
  std::string raw = slurp(p);
  ASSERT_GE(raw.size(), 2u);
  EXPECT_EQ(static_cast<unsigned char>(raw[0]), 0x1f);
  EXPECT_EQ(static_cast<unsigned char>(raw[1]), 0x8b);
  int status = 0;
  FILE *r = velto::fileopenread(env_, p.c_str(), "r", "", 0, 1, &status);
  ASSERT_NE(r, nullptr);
  std::string back;
  char buf[4096];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, r)) > 0) back.append(buf, n);
  EXPECT_EQ(velto::fileclose(p.c_str(), &r), 0);
  EXPECT_EQ(back, text);
}

TEST_F(FileTest, CorruptCompressedFileReportsOnClose) {
  std::string p = writefile("bad.gz", "this is not gzip data");
  int status = 0;
  FILE *r = velto::fileopenread(env_, p.c_str(), "r", "", 0, 1, &status);
  ASSERT_NE(r, nullptr);
  char buf[64];
  while (std::fread(buf, 1, sizeof buf, r) > 0) {
  }
  EXPECT_NE(velto::fileclose(p.c_str(), &r), 0);
}

TEST_F(FileTest, WriteToAMissingFolderFails) {
  std::string p = path("no/such/dir/x.gz");
  EXPECT_EQ(velto::fileopenwrite(p.c_str(), "w", 1), nullptr);
  EXPECT_EQ(velto::fileopenwrite(path("no/such/x.txt").c_str(), "w", 1), nullptr);
}

TEST_F(FileTest, ClockRisesAndTempdirMakesAFreshFolder) {
  double a = velto::now(env_);
  double b = velto::now(env_);
  EXPECT_GE(a, 0.0);
  EXPECT_GE(b, a);
  char buf[512];
  ASSERT_EQ(velto::tempdir(env_, dir_.c_str(), "vlt", buf), 0);
  struct stat st;
  ASSERT_EQ(stat(buf, &st), 0);
  EXPECT_TRUE(S_ISDIR(st.st_mode));
  EXPECT_EQ(std::string(buf).find(dir_.string() + "/vlt"), 0u);
  char buf2[512];
  ASSERT_EQ(velto::tempdir(env_, dir_.c_str(), "vlt", buf2), 0);
  EXPECT_STRNE(buf, buf2);
  EXPECT_EQ(velto::tempdir(env_, path("none/deeper").c_str(), "vlt", buf), -1422);
  EXPECT_NE(err_.find("VELTO Error  1422: Could not open file '"), std::string::npos);
}
