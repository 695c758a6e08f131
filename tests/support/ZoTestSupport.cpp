#include "support/ZoTestSupport.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace zotest {

Bytes DataFile(std::string const& relative) {
  std::ifstream in(std::string(ZOTEST_DATA_DIR) + "/" + relative, std::ios::binary);
  Bytes bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_FALSE(bytes.empty()) << "no golden file " << relative;
  return bytes;
}

std::string Hex(Bytes const& bytes) {
  std::string text;
  char piece[4];
  for (uint8_t byte : bytes) text.append(piece, std::snprintf(piece, sizeof piece, " %02X", byte));
  return text.empty() ? text : text.substr(1);
}

std::vector<std::string> Texts(ZoStringList const& list) {
  std::vector<std::string> texts;
  ZoDblListItem* cursor = nullptr;
  for (void* item = list.GetFirst(cursor); item != nullptr; item = list.GetNext(cursor))
    texts.push_back(static_cast<ZoString*>(item)->c_str());
  return texts;
}

TempFolder::TempFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "zoactor-test-XXXXXX").string();
  char* made = ::mkdtemp(pattern.data());
  root = made != nullptr ? made : "";
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  if (!root.empty()) std::filesystem::remove_all(root, ignored);
}

std::string TempFolder::WriteFile(std::string const& relative, Bytes const& content) const {
  std::string path = *this / relative;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<char const*>(content.data()), static_cast<std::streamsize>(content.size()));
  return path;
}

Bytes TempFolder::ReadFile(std::string const& relative) const {
  std::ifstream in(*this / relative, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace zotest
