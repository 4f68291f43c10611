// One step of a demonstration in the report.
#include "tools/lab/demo/ReportSection.h"

#include <algorithm>

#include "tools/lab/demo/Text.h"

namespace lab {

namespace {

constexpr size_t MostInlineBytes = 600'000;

}  // namespace

ReportSection::ReportSection(std::string title, std::string intro)
    : title(std::move(title)), intro(std::move(intro)) {}

void ReportSection::AddFigure(const std::string& svg, const std::string& caption) {
    figures += "<figure>" + svg + "<figcaption>" + EscapeHtml(caption) + "</figcaption></figure>\n";
}

void ReportSection::AddRecording(const std::string& title, const std::string& file,
                                 std::span<const std::uint8_t> bytes) {
    const std::string source =
        bytes.size() <= MostInlineBytes ? "data:audio/wav;base64," + Base64(bytes) : EscapeHtml(file);
    recordings += R"(<div class="recording"><span>)" + EscapeHtml(title) +
                  R"(</span><audio controls preload="none" src=")" + source + R"("></audio><a href=")" +
                  EscapeHtml(file) + "\">" + EscapeHtml(file) + "</a></div>\n";
}

void ReportSection::AddTable(const std::string& caption, const std::vector<std::vector<std::string>>& rows) {
    figures += "<figure><div class=\"scroll\"><table class=\"matrix\">\n";
    for (size_t row = 0; row < rows.size(); ++row) {
        figures += "<tr>";
        for (size_t column = 0; column < rows[row].size(); ++column) {
            const char* cell = row == 0 || column == 0 ? "th" : "td";
            figures += Format("<%s>%s</%s>", cell, EscapeHtml(rows[row][column]).c_str(), cell);
        }
        figures += "</tr>\n";
    }
    figures += "</table></div><figcaption>" + EscapeHtml(caption) + "</figcaption></figure>\n";
}

size_t ReportSection::Failures() const {
    return static_cast<size_t>(
        std::count_if(checks.begin(), checks.end(), [](const Check& check) { return !check.ok; }));
}

std::string ReportSection::ChecksHtml() const {
    std::string html =
        "<div class=\"scroll\"><table class=\"checks\"><thead><tr><th></th><th>Check</th><th>Expected</th>"
        "<th>Seen</th></tr></thead>\n<tbody>\n";
    for (const Check& check : checks) {
        html += Format(
            "<tr class=\"%s\"><td class=\"verdict\">%s</td><td>%s</td><td>%s</td><td>%s</td></tr>\n",
            check.ok ? "ok" : "bad", check.ok ? "&#10003;" : "&#10007;", EscapeHtml(check.name).c_str(),
            EscapeHtml(check.expected).c_str(), EscapeHtml(check.seen).c_str());
    }
    return html + "</tbody></table></div>\n";
}

std::string ReportSection::Html(size_t number) const {
    const size_t failures = Failures();
    std::string html =
        Format("<section id=\"s%zu\">\n<h2><span class=\"number\">%zu</span> %s <span class=\"pill %s\">",
               number, number, EscapeHtml(title).c_str(), failures ? "bad" : "ok");
    html +=
        failures ? Format("%zu of %zu failed", failures, checks.size()) : Format("%zu passed", checks.size());
    html += "</span></h2>\n<p class=\"intro\">" + EscapeHtml(intro) + "</p>\n" + figures;
    if (!recordings.empty()) html += "<div class=\"recordings\">\n" + recordings + "</div>\n";
    return html + ChecksHtml() + "</section>\n";
}

}  // namespace lab
