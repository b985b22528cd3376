#include "quillhaven/platform/process/collected_run.h"

#include <poll.h>

#include <array>
#include <memory>
#include <utility>

#include "quillhaven/platform/process/pipe.h"
#include "quillhaven/platform/process/pipe_reader.h"

namespace quillhaven::platform {
namespace {

// One output stream: its pipe and how far it was read.
class Stream {
 public:
  Stream() : pipe_(Pipe::pipe()), reader_(readingEnd()) {}

  [[nodiscard]] ChildStream childStream() const {
    return ChildStream::from(*pipe_->fileHandleForWriting());
  }
  void closeWritingEnd() { pipe_->closeFileHandleForWriting(); }

  [[nodiscard]] bool isOpen() const { return isOpen_; }
  [[nodiscard]] int readingEnd() const {
    return *pipe_->fileHandleForReading();
  }
  void readSome() {
    isOpen_ = reader_.readSome() == PipeReader::Progress::kMore;
  }
  Data takeBytes() { return reader_.takeBytes(); }

 private:
  std::shared_ptr<Pipe> pipe_;
  PipeReader reader_;
  bool isOpen_ = true;
};

}  // namespace

CollectedRun runCollecting(LaunchRequest request) {
  std::array<Stream, 2> streams;
  request.standardOutput = streams[0].childStream();
  request.standardError = streams[1].childStream();
  const auto child = ChildProcess::launch(request);
  for (Stream& stream : streams) stream.closeWritingEnd();

  while (streams[0].isOpen() || streams[1].isOpen()) {
    std::array<pollfd, 2> waiting;
    for (std::size_t i = 0; i < streams.size(); ++i) {
      const int descriptor =
          streams[i].isOpen() ? streams[i].readingEnd() : -1;  // -1: ignored
      waiting[i] = {descriptor, POLLIN, 0};
    }
    if (::poll(waiting.data(), waiting.size(), -1) <= 0) continue;
    for (std::size_t i = 0; i < streams.size(); ++i) {
      if (waiting[i].revents != 0) streams[i].readSome();
    }
  }
  const ExitStatus status = child->wait();
  return {status, streams[0].takeBytes(), streams[1].takeBytes()};
}

}  // namespace quillhaven::platform
