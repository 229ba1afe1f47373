#ifndef UTILS_COMMAND_OUTPUT_PIECES_H
#define UTILS_COMMAND_OUTPUT_PIECES_H

#include <cstddef>
#include <string>

namespace tarnwick {

// Receives text as it is made or arrives (a command's standard output, a view's rendering), in
// pieces of any size.
class OutputSink {
 public:
  virtual ~OutputSink() = default;
  // Takes the next `size` bytes; returns false to stop what makes them.
  virtual bool take(const char* data, std::size_t size) = 0;
};

// Collects output in a string.
class StringSink final : public OutputSink {
 public:
  explicit StringSink(std::string& text) : text_(text) {}
  bool take(const char* data, std::size_t size) override {
    text_.append(data, size);
    return true;
  }

 private:
  std::string& text_;
};

// Hands output on to `sink` as a loop of fgets into a 128-byte buffer would have collected it: in
// pieces of at most 127 bytes, each ending after a line feed at the latest, and each cut at its
// first zero byte (what follows the zero in that piece is lost). Keeps its place in the current
// piece, so output may arrive cut anywhere.
class FgetsPieces final : public OutputSink {
 public:
  explicit FgetsPieces(OutputSink& sink) : sink_(sink) {}
  bool take(const char* data, std::size_t size) override;

 private:
  static constexpr std::size_t kPiece = 127;
  void endPiece() {
    offset_ = 0;
    dropping_ = false;
  }

  OutputSink& sink_;
  std::size_t offset_ = 0;  // bytes of the current piece seen so far
  bool dropping_ = false;   // a zero byte ended the current piece's text
};

}  // namespace tarnwick

#endif
