#pragma once

#include <vector>

#include "platform/win32.h"

namespace NorvoWebAPI {

/// One row of an entry table: the member that calls the entry point which `vendor/` declares as `prototype`. The name
/// to look up and the signature both come from that one word.
// NOLINTNEXTLINE(bugprone-macro-parentheses): a member's name can't be in parentheses.
#define KSV_ENTRY(member, prototype) Entry<decltype(::prototype)> member = {*this, #prototype}

/// The entry points of a library found at run time, which are plain C functions. A table derives from this and has one
/// `KSV_ENTRY` for each.
class EntryTable {
 public:
  /// What a row has whatever its signature: the name, and the address once it is bound.
  class Row {
   public:
    Row(EntryTable& table, const char* entryName) : name(entryName) { table.rows.push_back(this); }
    Row(const Row&) = delete;
    Row& operator=(const Row&) = delete;
    /// Whether the library has the entry.
    explicit operator bool() const { return address != nullptr; }

   protected:
    ~Row() = default;
    [[nodiscard]] FARPROC Address() const { return address; }

   private:
    friend EntryTable;
    const char* name;
    FARPROC address = nullptr;
  };

  template <typename Signature>
  class Entry;
  template <typename Result, typename... Parameters>
  class Entry<Result(Parameters...)> final : public Row {
   public:
    using Row::Row;
    /// Calls the library. Only for an entry that is there.
    Result operator()(Parameters... parameters) const {
      return reinterpret_cast<Result (*)(Parameters...)>(reinterpret_cast<void*>(Address()))(parameters...);
    }
  };

  EntryTable() = default;
  EntryTable(const EntryTable&) = delete;
  EntryTable& operator=(const EntryTable&) = delete;

  /// Resolves every row. Gives the names that the library lacks.
  std::vector<const char*> Bind(HMODULE library) {
    std::vector<const char*> missing;
    for (Row* row : rows) {
      row->address = GetProcAddress(library, row->name);
      if (!row->address) missing.push_back(row->name);
    }
    return missing;
  }

 protected:
  ~EntryTable() = default;

 private:
  std::vector<Row*> rows;
};

}  // namespace NorvoWebAPI
