#include "tool.h"

#include "error_words.h"

namespace tool {

std::optional<Language> language_of(const std::string& name) {
    if (name == "en") return Language::english;
    if (name == "es") return Language::spanish;
    if (name == "zh") return Language::chinese;
    return std::nullopt;
}

int32_t lid_of(Language language) {
    constexpr int32_t lids[] = {OXLANG_ENGLISH, OXLANG_SPANISH, OXLANG_CHINESE};
    return lids[static_cast<size_t>(language)];
}

Failure::Failure(std::string message, ExitCode code) : message_(std::move(message)), code_(code) {
    if (GetRvexErrNo() == 0) return;
    record_.emplace();
    ORVEX_CopyErrData(&*record_);
    ORVEX_Err_ClearError();
}

void Tool::bring_up(Language language) {
    if (up_) return;
    up_ = true;
    if (ORVEX_SetMainPath(library_path(settings.installation).c_str()) < 0) {
        throw Failure("The name of the installation is too long");
    }
    ORVEX_BASE_InitVar();
    OXLANG_LID_Set(OXLANG_KIND_DEFAULT, lid_of(language));
    ORVEX_Err_ClearError();  // an installation that lacks something serves all the same
}

Tool::~Tool() {
    if (up_) ORVEX_BASE_ReleaseVar();
}

void Tool::warn(const std::string& text) {
    print_error("molte: " + text + "\n");
}

void Tool::tell(const Failure& failure) {
    print_error(coloured_error(Colour::red, "molte: ") + failure.what() + "\n");
    if (failure.record()) print_error(short_words_of(*failure.record(), settings.language));
}

std::string Tool::utf8(const std::string& bytes) const {
    const auto text = utf8_from(bytes, settings.encoding);
    if (!text) throw Failure("\"" + shown(bytes) + "\" is not in the encoding; see --encoding");
    return *text;
}

std::string Tool::argument(const std::string& bytes) const {
#if defined(_WIN32)
    return bytes;  // it came as wide text
#else
    return utf8(bytes);
#endif
}

}  // namespace tool
