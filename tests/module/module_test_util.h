// Shared pieces of the module tests: a private registry file in a temporary directory, and
// reading and writing small files.
#pragma once
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

inline std::string ReadFileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

inline void WriteFileBytes(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << bytes;
}

// Points QX_REGISTRY_FILE at a file in a fresh temporary directory for the life of the fixture.
class TempRegistry : public ::testing::Test {
 protected:
  void SetUp() override {
    char tmpl[] = "/tmp/qxmodtest.XXXXXX";
    ASSERT_NE(mkdtemp(tmpl), nullptr);
    dir_ = tmpl;
    registry_ = dir_ + "/registry";
    setenv("QX_REGISTRY_FILE", registry_.c_str(), 1);
  }
  void TearDown() override {
    unsetenv("QX_REGISTRY_FILE");
    const std::string cmd = "rm -rf '" + dir_ + "'";
    ASSERT_EQ(std::system(cmd.c_str()), 0);
  }
  std::string dir_;
  std::string registry_;
};
