// Replays fuzz inputs through a harness's entry point without libFuzzer, so that the committed
// corpus and crash reproducers run in the normal test suite with any compiler. Arguments are
// directories (every regular file in them, in name order) or single files. A directory that
// holds no file fails the run: a mistyped corpus path must not pass as an empty corpus.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace {

std::vector<std::filesystem::path> inputsOf(std::filesystem::path const& path) {
  std::vector<std::filesystem::path> files;
  if (std::filesystem::is_directory(path)) {
    for (auto const& entry : std::filesystem::directory_iterator(path)) {
      if (entry.is_regular_file()) {
        files.push_back(entry.path());
      }
    }
    std::sort(files.begin(), files.end());
  } else if (std::filesystem::is_regular_file(path)) {
    files.push_back(path);
  }
  return files;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> const paths(argv + 1, argv + argc);
  if (paths.empty()) {
    std::fprintf(stderr, "usage: %s DIR_OR_FILE...\n", argv[0]);
    return 2;
  }
  std::size_t replayed = 0;
  for (auto const& path : paths) {
    auto const files = inputsOf(path);
    if (files.empty()) {
      std::fprintf(stderr, "%s: no input files\n", path.c_str());
      return 1;
    }
    for (auto const& file : files) {
      std::ifstream in(file, std::ios::binary);
      std::vector<char> const bytes{std::istreambuf_iterator<char>(in),
                                    std::istreambuf_iterator<char>()};
      std::fprintf(stderr, "replaying %s\n", file.c_str());
      LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(bytes.data()), bytes.size());
      ++replayed;
    }
  }
  std::printf("replayed %zu inputs\n", replayed);
  return 0;
}
