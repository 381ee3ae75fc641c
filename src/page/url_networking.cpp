#include "page/url_networking.h"

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
    // The listener hears of the failed fetch either way.
  }
}

void* HostWord(uintptr_t number) {
  return reinterpret_cast<void*>(number);
}
uintptr_t NumberOf(void* hostWord) {
  return reinterpret_cast<uintptr_t>(hostWord);
}

}  // namespace

bool URLNetworking::GetURLToMemory(const std::string& url, void* context, URLListener* listener) {
  return StartFetch(Kind::Memory, url, context, listener);
}

bool URLNetworking::GetURLToFile(const std::string& url, void* context, URLListener* listener) {
  return StartFetch(Kind::File, url, context, listener);
}

bool URLNetworking::StartFetch(Kind kind, const std::string& url, void* context, URLListener* listener) {
  const uintptr_t number = ++lastRequest;
  requests.emplace(number, URLRequest{kind, context, listener, nullptr});
  const bool started = npnFuncs->geturlnotify(npp, url.c_str(), nullptr, HostWord(number)) == NPERR_NO_ERROR;
  if (!started) requests.erase(number);
  return started;
}

URLNetworking::URLStream* URLNetworking::StreamOf(const NPStream* stream) {
  const auto found = requests.find(NumberOf(stream->pdata));
  return found == requests.end() ? nullptr : found->second.stream.get();
}

NPError URLNetworking::NewStream(NPMIMEType /*type*/, NPStream* stream, NPBool /*seekable*/, uint16_t* /*stype*/) {
  const auto found = requests.find(NumberOf(stream->notifyData));
  if (found == requests.end()) return NPERR_GENERIC_ERROR;
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
  return open ? kMaxFetchBytes + 1 - open->received : 0;
}

int32_t URLNetworking::Write(NPStream* stream, int32_t offset, int32_t len, void* buffer) {
  URLStream* const open = StreamOf(stream);
  if (!open) return -1;
  open->received += len;
  if (open->received > kMaxFetchBytes) return -1;
  if (open->data) {
    const size_t end = open->data->size();
    if (static_cast<size_t>(offset) != end) return -1;
    open->data->resize(end + static_cast<size_t>(len));
    Platform::memcpy(open->data->data() + end, static_cast<size_t>(len), buffer, static_cast<size_t>(len));
  } else {
    open->file.write(static_cast<const char*>(buffer), len);
  }
  return len;
}

NPError URLNetworking::DestroyStream(NPStream* stream, NPReason reason) {
  // Taken out first: the listener may start the next fetch, and the host's notification still follows.
  auto taken = requests.extract(NumberOf(stream->pdata));
  if (taken.empty()) return NPERR_NO_ERROR;
  const auto& [kind, context, listener, open] = taken.mapped();
  if (kind == Kind::Memory) {
    listener->OnURLData(reason == NPRES_DONE, open->data, context);
    return NPERR_NO_ERROR;
  }
  open->file.close();  // Writes the last buffer: a full disk may show only now.
  const bool ok = reason == NPRES_DONE && open->file.good();
  if (!ok) DeleteQuietly(open->path);
  listener->OnURLFile(ok, open->path, context);
  return NPERR_NO_ERROR;
}

void URLNetworking::URLNotify(const char* /*url*/, NPReason reason, void* notifyData) {
  // For a fetch that had a stream nothing is found: `DestroyStream` has told the listener of its end.
  const auto taken = requests.extract(NumberOf(notifyData));
  if (taken.empty() || reason == NPRES_DONE) return;
  const auto& [kind, context, listener, open] = taken.mapped();
  if (kind == Kind::Memory) {
    listener->OnURLData(false, std::make_shared<std::vector<uint8_t>>(), context);
  } else {
    listener->OnURLFile(false, "<unknown>", context);
  }
}

}  // namespace NorvoWebAPI
