#include "page/url_networking.h"

#include <new>
#include <utility>

#include "base/guarded_memory.h"
#include "platform/system_path.h"
#include "storage/platform_files.h"

namespace NorvoWebAPI {
namespace {

constexpr int32_t kMaxFetchBytes = 2'000'000;

void DeleteQuietly(const std::string& path) {
  try {
    Platform::DeleteFile(path);
  } catch (...) {
    // A file that stays behind costs its room, no more.
  }
}

void* HostWord(uintptr_t number) {
  return reinterpret_cast<void*>(number);
}
uintptr_t NumberOf(void* hostWord) {
  return reinterpret_cast<uintptr_t>(hostWord);
}

bool Grow(std::vector<uint8_t>& data, size_t count) {
  try {
    data.resize(data.size() + count);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace

URLNetworking::URLStream::~URLStream() {
  if (path.empty() || kept) return;
  file.close();
  DeleteQuietly(path);
}

bool URLNetworking::URLStream::KeepFile() {
  file.close();
  kept = file.good();
  return kept;
}

bool URLNetworking::GetURLToMemory(const std::string& url, void* context, URLListener* listener) {
  return StartFetch(Kind::Memory, url, context, listener);
}

bool URLNetworking::GetURLToFile(const std::string& url, void* context, URLListener* listener) {
  return StartFetch(Kind::File, url, context, listener);
}

bool URLNetworking::StartFetch(Kind kind, const std::string& url, void* context, URLListener* listener) {
  if (ended) return false;
  const uintptr_t number = ++lastRequest;
  requests.emplace(number, URLRequest{kind, context, listener, nullptr});
  bool started = false;
  try {
    started = npnFuncs->geturlnotify(npp, url.c_str(), nullptr, HostWord(number)) == NPERR_NO_ERROR;
  } catch (...) {
    requests.erase(number);
    throw;
  }
  if (!started) requests.erase(number);
  return started;
}

URLNetworking::URLStream* URLNetworking::StreamOf(const NPStream* stream) {
  const auto found = requests.find(NumberOf(stream->pdata));
  return found == requests.end() ? nullptr : found->second.stream.get();
}

NPError URLNetworking::NewStream(NPMIMEType /*type*/, NPStream* stream, NPBool /*seekable*/, uint16_t* /*stype*/) {
  const auto found = requests.find(NumberOf(stream->notifyData));
  if (found == requests.end() || found->second.stream) {
    stream->pdata = nullptr;
    return NPERR_GENERIC_ERROR;
  }
  auto opened = std::make_unique<URLStream>();
  if (found->second.kind == Kind::Memory) {
    opened->data = std::make_shared<std::vector<uint8_t>>();
  } else {
    opened->path = Platform::GetTempFileName();
    opened->file.open(SystemPath(opened->path), std::ios::binary | std::ios::trunc);
  }
  found->second.stream = std::move(opened);
  stream->pdata = stream->notifyData;
  return NPERR_NO_ERROR;
}

int32_t URLNetworking::WriteReady(NPStream* stream) {
  const URLStream* const open = StreamOf(stream);
  return open ? static_cast<int32_t>(kMaxFetchBytes + 1 - open->received) : 0;
}

int32_t URLNetworking::Write(NPStream* stream, int32_t offset, int32_t len, void* buffer) {
  URLStream* const open = StreamOf(stream);
  if (!open || len < 0 || (!buffer && len > 0)) return -1;
  open->received += len;
  if (open->received > kMaxFetchBytes) return -1;
  if (open->data) {
    const size_t end = open->data->size();
    if (offset < 0 || static_cast<size_t>(offset) != end) return -1;
    if (!Grow(*open->data, static_cast<size_t>(len))) {
      open->received = kMaxFetchBytes + int64_t{1};  // A body with a gap is none: no more of it is taken.
      return -1;
    }
    Platform::memcpy(open->data->data() + end, static_cast<size_t>(len), buffer, static_cast<size_t>(len));
  } else {
    open->file.write(static_cast<const char*>(buffer), len);
  }
  return len;
}

NPError URLNetworking::DestroyStream(NPStream* stream, NPReason reason) {
  if (!StreamOf(stream)) return NPERR_NO_ERROR;
  // Taken out first: the listener may start the next fetch, and the host's notification still follows.
  auto taken = requests.extract(NumberOf(stream->pdata));
  URLRequest& request = taken.mapped();
  const bool done = reason == NPRES_DONE;
  if (request.kind == Kind::Memory) {
    request.listener->OnURLData(done, request.stream->data, request.context);
    return NPERR_NO_ERROR;
  }
  const std::string path = request.stream->path;
  const bool ok = done && request.stream->KeepFile();
  request.stream.reset();  // What failed is gone before the listener hears of it.
  request.listener->OnURLFile(ok, path, request.context);
  return NPERR_NO_ERROR;
}

void URLNetworking::URLNotify(const char* /*url*/, NPReason reason, void* notifyData) {
  const auto found = requests.find(NumberOf(notifyData));
  // A fetch that had a stream has been told of its end there, or will be.
  if (found == requests.end() || found->second.stream) return;
  const URLRequest request = std::move(found->second);
  requests.erase(found);
  if (reason == NPRES_DONE) return;
  if (request.kind == Kind::Memory) {
    request.listener->OnURLData(false, std::make_shared<std::vector<uint8_t>>(), request.context);
  } else {
    request.listener->OnURLFile(false, "<unknown>", request.context);
  }
}

}  // namespace NorvoWebAPI
