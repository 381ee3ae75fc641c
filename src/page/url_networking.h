#pragma once

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "npapi/npfunctions.h"

namespace NorvoWebAPI {

/// Is called when a fetch ends, on the browser's thread.
class URLListener {
 public:
  /// The bytes of a fetch to memory; none when `ok` is false and no stream came.
  virtual void OnURLData(bool ok, std::shared_ptr<std::vector<uint8_t>> data, void* context) = 0;
  /// The file of a fetch to a file, deleted when `ok` is false; "<unknown>" when no stream came.
  virtual void OnURLFile(bool ok, const std::string& path, void* context) = 0;

 protected:
  ~URLListener() = default;
};

/// Fetches URLs through the host, each up to 2,000,000 bytes, and serves the host's stream calls for them. The host is
/// given numbers, not addresses, so a notification behind the end of a stream, or a stream that no fetch started, finds
/// nothing. The browser's thread only.
class URLNetworking {
 public:
  URLNetworking(NPP instance, const NPNetscapeFuncs* funcs) : npp(instance), npnFuncs(funcs) {}
  URLNetworking(const URLNetworking&) = delete;
  URLNetworking& operator=(const URLNetworking&) = delete;
  /// True when the fetch started; `listener` is then told of its end, with `context`, and must live until then. It is
  /// not told of a fetch that ends well without a stream, or that is under way when this object is destroyed.
  virtual bool GetURLToMemory(const std::string& url, void* context, URLListener* listener);
  virtual bool GetURLToFile(const std::string& url, void* context, URLListener* listener);
  virtual ~URLNetworking() = default;

  virtual NPError NewStream(NPMIMEType type, NPStream* stream, NPBool seekable, uint16_t* stype);
  virtual NPError DestroyStream(NPStream* stream, NPReason reason);
  virtual int32_t WriteReady(NPStream* stream);
  virtual int32_t Write(NPStream* stream, int32_t offset, int32_t len, void* buffer);
  virtual void URLNotify(const char* url, NPReason reason, void* notifyData);

 protected:
  NPP npp;
  const NPNetscapeFuncs* npnFuncs;

 private:
  enum class Kind { Memory, File };

  /// What a fetch has received so far.
  struct URLStream {
    int32_t received = 0;  ///< Bytes that the host announced.
    std::shared_ptr<std::vector<uint8_t>> data;
    std::string path;
    std::ofstream file;
  };

  struct URLRequest {
    Kind kind;
    void* context;
    URLListener* listener;
    std::unique_ptr<URLStream> stream;  ///< From `NewStream` on.
  };

  bool StartFetch(Kind kind, const std::string& url, void* context, URLListener* listener);
  URLStream* StreamOf(const NPStream* stream);

  uintptr_t lastRequest = 0;
  std::unordered_map<uintptr_t, URLRequest> requests;  ///< By the number that the host holds.
};

}  // namespace NorvoWebAPI
