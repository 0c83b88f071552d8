/// Tuning values by name, set by calls and read with a default.
///
/// The library's values are read once a process, at their first use, so a host sets them before it births the
/// library. No file and no environment variable is ever read.
///
///     auto& database = zvkcore::debug::DebugDatabase::Instance();
///     database.SetEntry("QL.PurgeFailedThreshold", 5);
///     const int threshold = database.GetEntryAs<int>("QL.PurgeFailedThreshold", 10);
#ifndef ZVKCORE_DEBUG_DEBUGDATABASE_H
#define ZVKCORE_DEBUG_DEBUGDATABASE_H

#include <concepts>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include "zvkcore/config/Export.h"

namespace zvkcore::debug {

/// threads  any
class ZVKCORE_EXPORT DebugDatabase {
  public:
    using Value = std::variant<bool, int64_t, uint64_t, double, std::string>;

    /// The one database of the process.
    static DebugDatabase& Instance();

    /// Gives the entry as a `T`: bool, a whole or floating number, or `std::string`. The default stands in when
    /// there is no entry, or when its value cannot be said in a `T` without changing it: another kind of value,
    /// or a number out of range.
    template <class T>
    T GetEntryAs(std::string_view key, T fallback) const;

    template <class T>
    void SetEntry(std::string_view key, T&& value)
    {
        StoreEntry(key, ToValue(std::forward<T>(value)));
    }

    /// Forgets the entry, so that readers see their defaults again; tells whether there was one.
    bool RemoveEntry(std::string_view key);

  private:
    DebugDatabase();
    ~DebugDatabase();

    std::optional<Value> FindEntry(std::string_view key) const;
    void StoreEntry(std::string_view key, Value value);

    template <class T>
    static Value ToValue(T&& value)
    {
        using Plain = std::remove_cvref_t<T>;
        if constexpr (std::same_as<Plain, bool>) {
            return Value(value);
        } else if constexpr (std::floating_point<Plain>) {
            return Value(static_cast<double>(value));
        } else if constexpr (std::signed_integral<Plain>) {
            return Value(static_cast<int64_t>(value));
        } else if constexpr (std::unsigned_integral<Plain>) {
            return Value(static_cast<uint64_t>(value));
        } else {
            return Value(std::string(std::forward<T>(value)));
        }
    }

    template <class T, class Stored>
    static std::optional<T> Convert(const Stored& stored)
    {
        if constexpr (std::same_as<T, Stored>) {
            return stored;
        } else if constexpr (std::same_as<T, bool> || std::same_as<Stored, bool> ||
                             !std::is_arithmetic_v<T> || !std::is_arithmetic_v<Stored>) {
            return std::nullopt;
        } else if constexpr (std::floating_point<T>) {
            return static_cast<T>(stored);
        } else if constexpr (std::integral<Stored>) {
            return std::in_range<T>(stored) ? std::optional<T>(static_cast<T>(stored)) : std::nullopt;
        } else {
            return std::nullopt;
        }
    }

    mutable std::shared_mutex m_mutex;                    // guards the entries
    std::map<std::string, Value, std::less<>> m_entries;  // lives as long as the process
};

template <class T>
T DebugDatabase::GetEntryAs(std::string_view key, T fallback) const
{
    const std::optional<Value> entry = FindEntry(key);
    if (!entry) return fallback;
    const auto value = std::visit([](const auto& stored) { return Convert<T>(stored); }, *entry);
    return value ? *value : fallback;
}

}  // namespace zvkcore::debug

#endif
