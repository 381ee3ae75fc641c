/// What a piece of work came to, for tests of what throws.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "base/result_codes.h"
#include "base/text.h"

namespace support {

/// The error's text or code; empty when there is none.
inline std::string ErrorOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const NorvoWebAPI::KSV::CPluginException& error) {
    return std::to_string(error.pluginRetCode);
  } catch (const _com_error& error) {
    return std::to_string(static_cast<uint32_t>(error.Error()) - 0x80070000u);
  } catch (const std::exception& error) {
    return error.what();
  }
  return "";
}

inline const uint8_t* Data(const std::string& bytes) {
  return reinterpret_cast<const uint8_t*>(bytes.data());
}

}  // namespace support
