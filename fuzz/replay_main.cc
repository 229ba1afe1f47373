// Replays fuzzer inputs without libFuzzer, so a finding reproduces under gcc or a debugger:
//   <target>_replay FILE...   runs each file through the target's LLVMFuzzerTestOneInput.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    std::ifstream in(argv[i], std::ios::binary);
    if (!in) return std::fprintf(stderr, "cannot read %s\n", argv[i]), 2;
    const std::string input((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input.data()), input.size());
  }
  std::printf("replayed %d input(s)\n", argc - 1);
  return 0;
}
