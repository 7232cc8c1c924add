#include "support/rows.h"
#include "support/test.h"

namespace {

// Errors of the grammar tell nothing: what is told then is an empty record.
std::string service(const Texts& row) {
    char parts[3][24];
    int32_t sizes[3];
    std::istringstream in(row[1]);
    for (int32_t& size : sizes) in >> size;
    for (auto& part : parts) std::strcpy(part, "-######################");
    int32_t port = -7;
    const int32_t result = MOLTE_AnalyzeService(row[0].c_str(), parts[0], sizes[0], parts[1],
                                                sizes[1], parts[2], sizes[2], &port);
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(parts[i][std::max(sizes[i], 1)], '#') << row[0];
    if (result < 0) return told(result);
    std::string text = std::to_string(result);
    for (auto& part : parts) text += part[1] == '#' ? " -" : " " + std::string(part);
    return text + " " + std::to_string(port);
}

std::string table(const Texts& row) {
    uint16_t first = 7;
    uint16_t second = 7;
    const int32_t result = MOLTE_AnalyzeDTID(row[0].c_str(), &first, &second);
    if (result < 0) return told(result);
    return "1 " + std::to_string(first) + " " + std::to_string(second);
}

TEST(ServiceAddress, Rows) {
    check_rows(TEST_ROWS, {{"service", service}, {"table", table}});
    uint16_t number = 0;
    EXPECT_EQ(error_of(MOLTE_AnalyzeDTID(nullptr, &number, &number)), "50 oxsysutl");
    char text[8];
    int32_t port = 0;
    EXPECT_EQ(error_of(MOLTE_AnalyzeService("@h", nullptr, 0, text, 8, text, 8, &port)),
              "50 oxsysutl");
}

}  // namespace
