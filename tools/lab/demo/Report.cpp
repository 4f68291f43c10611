// The report of a demonstration as one HTML page.
#include "tools/lab/demo/Report.h"

#include "tools/lab/demo/ReportStyle.h"
#include "tools/lab/demo/Text.h"

namespace lab {

ReportSection& Report::AddSection(std::string title, std::string intro) {
    return sections.emplace_back(std::move(title), std::move(intro));
}

void Report::AddOverview(std::string heading, std::string svg, std::string caption) {
    overview += "<section><h2>" + EscapeHtml(heading) + "</h2><figure>" + svg + "<figcaption>" +
                EscapeHtml(caption) + "</figcaption></figure></section>\n";
}

size_t Report::CheckCount() const {
    size_t count = 0;
    for (const ReportSection& section : sections) count += section.Checks().size();
    return count;
}

size_t Report::Failures() const {
    size_t count = 0;
    for (const ReportSection& section : sections) count += section.Failures();
    return count;
}

std::string Report::HeadHtml() const {
    const size_t failures = Failures();
    std::string html =
        "<!doctype html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
        "<title>Kestrel Compressor demonstration</title>\n<style>";
    html += ReportStyle;
    html +=
        "</style></head>\n<body><main>\n<header><p class=\"product\">Kestrel "
        "Compressor</p>\n<h1>Demonstration</h1>\n";
    html += Format(R"(<p class="banner %s">)", failures ? "bad" : "ok");
    html += failures ? Format("%zu of %zu checks failed", failures, CheckCount())
                     : Format("All %zu checks passed", CheckCount());
    html += "</p>\n<div class=\"tiles\">\n";
    for (const auto& [figure, meaning] : tiles) {
        html += "<div><b>" + EscapeHtml(figure) + "</b><span>" + EscapeHtml(meaning) + "</span></div>\n";
    }
    html += "</div>\n<nav>";
    for (size_t i = 0; i < sections.size(); ++i) {
        html += Format(R"(<a href="#s%zu" class="%s">%s</a> )", i + 1, sections[i].Failures() ? "bad" : "ok",
                       EscapeHtml(sections[i].Title()).c_str());
    }
    return html + "</nav>\n</header>\n";
}

std::string Report::FactsHtml() const {
    std::string html = "<section><h2>Circumstances</h2>\n<table class=\"facts\">\n";
    for (const auto& [name, value] : facts) {
        html += "<tr><th>" + EscapeHtml(name) + "</th><td>" + EscapeHtml(value) + "</td></tr>\n";
    }
    return html + "</table></section>\n";
}

std::string Report::Html() const {
    std::string html = HeadHtml() + overview;
    for (size_t i = 0; i < sections.size(); ++i) html += sections[i].Html(i + 1);
    html += FactsHtml();
    if (!log.empty()) {
        html += "<section><h2>Log of the module</h2><details><summary>Show</summary><pre>" + EscapeHtml(log) +
                "</pre></details></section>\n";
    }
    return html + "</main></body></html>\n";
}

}  // namespace lab
