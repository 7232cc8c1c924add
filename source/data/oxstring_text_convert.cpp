
#include "core/modules.h"
#include "core/owners.h"
#include "data/oxstring.h"
#include "moltelib/text_convert.h"
#include "platform/code_page.h"

namespace {

constexpr auto kModule = molte::kOxstring;
constexpr uint32_t kNoRoom = 2624;

// The two texts of a report: measuring failed, converting failed.
struct Words {
    const char* measure;
    const char* convert;
};

constexpr Words kToWide{"mbstowcs", "mbstowcs faile. maybe need setlocal."};
constexpr Words kToMultibyte{"wcstombs", "wcstombs failed. maybe need setlocal."};

// One direction: units of From to units of To.
template <typename To, typename From>
struct Conversion {
    size_t (*convert)(To*, const From*, size_t);
    Words words;

    // The units without the terminator, or -1.
    [[nodiscard]] int64_t measure(const From* src) const {
        const size_t size = convert(nullptr, src, 0);
        if (size != platform::kBadText) return static_cast<int64_t>(size);
        return fail(words.measure);
    }

    // 1, or -1; room includes that of the terminator.
    [[nodiscard]] int32_t into(To* dst, const From* src, int64_t room) const {
        const size_t size = convert(dst, src, static_cast<size_t>(room));
        // Without a terminator it is no text; kBadText is the largest size there is.
        return size < static_cast<size_t>(room) ? 1 : fail(words.convert);
    }

    [[nodiscard]] To* duplicate(const From* src) const {
        if (src == nullptr) return nullptr;
        const int64_t size = measure(src);
        if (size < 0) return nullptr;
        auto copy = molte::allocate<To>(size + 1);
        if (copy == nullptr) kModule.trace(molte::here());
        if (copy == nullptr || into(copy.get(), src, size + 1) < 0) return nullptr;
        return copy.release();
    }

    [[nodiscard]] int32_t copy(const From* src, To* dst, int32_t room) const {
        if (src == nullptr || dst == nullptr)
            return kModule.fail(molte::here(), molte::kBadArgument);
        const int64_t size = measure(src);
        if (size < 0) return -1;
        if (room <= size) {
            return kModule.fail(molte::here(), kNoRoom, molte::SystemError::none,
                                "dest buf size=%d <= src size=%d", room,
                                static_cast<int32_t>(size + 1));
        }
        return into(dst, src, room);
    }

 private:
    static int32_t fail(const char* text) {
        return kModule.fail_text(molte::here(), molte::kNotConverted, molte::SystemError::runtime,
                                 text);
    }
};

constexpr Conversion<wchar_t, char> kWide{platform::multibyte_to_wide, kToWide};
constexpr Conversion<char, wchar_t> kMultibyte{platform::wide_to_multibyte, kToMultibyte};
// MOLTE_STR_wcstombs speaks of the other direction: meant.
constexpr Conversion<char, wchar_t> kMultibyteInto{platform::wide_to_multibyte, kToWide};

}  // namespace

wchar_t* ox_mbstowcs(const char* src) {
    return kWide.duplicate(src);
}

char* ox_wcstombs(const wchar_t* src) {
    return kMultibyte.duplicate(src);
}

int32_t MOLTE_STR_mbstowcs(const char* src, wchar_t* dst, int32_t dstChars) {
    return kWide.copy(src, dst, dstChars);
}

int32_t MOLTE_STR_wcstombs(const wchar_t* src, char* dst, int32_t dstBytes) {
    return kMultibyteInto.copy(src, dst, dstBytes);
}
