#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace NorvoWebAPI::KSV {

/// An instance of an applet, which the library knows by this id.
struct InstanceRecord {
  uint32_t instanceId = 0;
  bool hasEventCallback = false;  ///< Started for events, not by the first operation that needed it.
};

/// The instances of one page, by applet identifier. The page's thread changes the map and the library's threads read
/// it: each operation takes the lock.
class InstanceMap {
 public:
  [[nodiscard]] std::optional<InstanceRecord> Find(const std::string& name) const;
  /// The name of the first entry with this id, or the empty text.
  [[nodiscard]] std::string NameOf(uint32_t instanceId) const;
  [[nodiscard]] std::vector<InstanceRecord> Instances() const;
  void Insert(const std::string& name, InstanceRecord record);
  /// Removes the first entry with this id. True when the map is then empty.
  bool Remove(uint32_t instanceId);
  void Clear();

 private:
  using Records = std::unordered_map<std::string, InstanceRecord>;

  /// The caller holds the lock.
  [[nodiscard]] Records::const_iterator FindId(uint32_t instanceId) const;

  mutable std::mutex mutex;
  Records records;
};

}  // namespace NorvoWebAPI::KSV
