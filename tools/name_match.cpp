// Near names are counted in letters that must be changed.
#include "tools/name_match.h"

#include <algorithm>
#include <cstddef>
#include <tuple>

#include <fmt/format.h>

namespace zerix::tool {

namespace {

// Letters to insert, remove or replace to get from one to the other.
size_t Distance(std::string_view a, std::string_view b)
{
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
        }
    }
    return row.back();
}

} // namespace

std::string Simplified(std::string_view name)
{
    std::string result;
    for (const char c : name) {
        if (c >= 'A' && c <= 'Z')
            result += static_cast<char>(c - 'A' + 'a');
        else if (c != '-' && c != '_' && c != ' ')
            result += c;
    }
    return result;
}

std::vector<std::string> NearNames(std::string_view typed, const std::vector<std::string> &names)
{
    constexpr size_t kMostSuggestions = 3;
    constexpr size_t kLongestTyped = 64;
    const std::string wanted = Simplified(typed.substr(0, kLongestTyped));
    struct Near {
        size_t distance;
        size_t surplus; // letters that were left out
        std::string name;
    };
    std::vector<Near> near;
    for (const auto &name : names) {
        const std::string simple = Simplified(name);
        const bool isPart = wanted.size() >= 3 && simple.find(wanted) != std::string::npos;
        const size_t distance = isPart ? 1 : Distance(wanted, simple);
        if (distance <= 1 + wanted.size() / 4)
            near.push_back(
                {distance, simple.size() - std::min(simple.size(), wanted.size()), name});
    }
    std::stable_sort(near.begin(), near.end(), [](const Near &a, const Near &b) {
        return std::tie(a.distance, a.surplus) < std::tie(b.distance, b.surplus);
    });
    std::vector<std::string> result;
    for (size_t i = 0; i < near.size() && i < kMostSuggestions; ++i)
        result.push_back(near[i].name);
    return result;
}

std::string Enumerated(const std::vector<std::string> &names, std::string_view last)
{
    std::string result;
    for (size_t i = 0; i < names.size(); ++i) {
        if (i != 0)
            result += i + 1 == names.size() ? fmt::format(" {} ", last) : ", ";
        result += names[i];
    }
    return result;
}

} // namespace zerix::tool
