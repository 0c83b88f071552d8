// The data of "expt", and starting plug-ins for what they export.
#include <bit>
#include <cstring>
#include <string_view>

#include "MVp_Plugins.h"

static_assert(std::endian::native == std::endian::little, "property data is little-endian");

namespace {

constexpr uint64_t kWord = 4;

// The data as words: property data may come from any file, so each read is checked.
class Words {
  public:
    Words(const void* data, uint32_t size) : m_data(static_cast<const char*>(data)), m_size(size) {}

    bool Read(uint64_t offset, uint32_t* word) const
    {
        if (offset + kWord > m_size) return false;
        std::memcpy(word, m_data + offset, kWord);
        return true;
    }

    // The text up to its NUL, which must lie before `end`.
    bool ReadText(uint64_t offset, uint64_t end, std::string_view* text) const
    {
        if (end > m_size || offset >= end) return false;
        const size_t length = strnlen(m_data + offset, end - offset);
        *text = {m_data + offset, length};
        return length < end - offset;
    }

  private:
    const char* m_data;
    uint64_t m_size;
};

uint64_t Padded(uint64_t size)
{
    return (size + kWord - 1) / kWord * kWord;
}

}  // namespace

bool mvHasExport(const void* data, uint32_t size, const char* name, int32_t version)
{
    const Words words(data, size);
    uint32_t count = 0;
    if (size <= kWord || !words.Read(0, &count)) return false;
    uint64_t entry = kWord;
    for (uint32_t i = 0, length = 0; i < count && words.Read(entry, &length); ++i) {
        const uint64_t begin = entry + kWord, end = begin + length;
        std::string_view text;
        if (!words.ReadText(begin, end, &text)) return false;
        uint32_t itsVersion = 0;
        const uint64_t versionAt = begin + Padded(text.size() + 1);
        if (versionAt + kWord > end || !words.Read(versionAt, &itsVersion)) return false;
        if (text == name && static_cast<int32_t>(itsVersion) == version) return true;
        entry = end;
    }
    return false;
}

Err MVStartupExport(MVPluginList* list, const char* exportName, int32_t version, int32_t* started)
{
    if (!g_mvRuntime || !exportName || !started) return MV_Err_PARAMETER;
    *started = 0;
    for (MVPlugin* plugin = (list ? list : g_mvRuntime->plugins)->head; plugin; plugin = plugin->next) {
        if (mvIsV1(plugin) || mvHas(plugin, kStateStarted)) continue;
        const MVProperty* exports = mvStartProperty(plugin, MV_Key_EXPORTS);
        if (!exports || !mvHasExport(exports->data, exports->size, exportName, version)) continue;
        startupMarshVetchPlugin(plugin);
        *started = 1;
    }
    return U_Err_NONE;
}
