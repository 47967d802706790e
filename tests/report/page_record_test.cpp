#include "report/page_record.h"

#include <gtest/gtest.h>

#include "report/pages.h"

namespace orvix::report {
namespace {

using Json = nlohmann::ordered_json;

/// The text of the record's element of a page, as a browser cuts it: up to the first end of a
/// script.
std::string elementText(const std::string& page) {
    const std::string start = "<script type=\"application/json\" id=\"record\">";
    const std::size_t from = page.find(start);
    EXPECT_NE(from, std::string::npos);
    return page.substr(from + start.size(), page.find("</script", from) - from - start.size());
}

TEST(PageWithRecord, TextsComeBackWholeFromBothPages) {
    const std::string nasty[] = {
        "</script><script>alert(1)</script>",         "<!-- <script>",  "]]>",       "\"'\\ \n\r\t",
        "\xE8\x9B\x8B \xE2\x80\xA8 \xF0\x9F\xA7\xAC", "@ORVIX_RECORD@", "$& \\u003c"};
    for (const std::string_view page : {proteinPage, indexPage}) {
        for (const std::string& text : nasty) {
            const Json record = {{"title", text}, {text, 1.5}};
            const std::string whole = pageWithRecord(page, record);
            const std::string element = elementText(whole);
            EXPECT_EQ(element.find('<'), std::string::npos) << text;
            EXPECT_EQ(Json::parse(element), record) << text;
            EXPECT_EQ(whole.substr(whole.size() - 16), page.substr(page.size() - 16));
        }
    }
}

TEST(PageWithRecord, BrokenUtf8IsReplaced) {
    const std::string page = pageWithRecord(proteinPage, {{"title", "a\xC3(b\xFF"}});
    EXPECT_EQ(Json::parse(elementText(page))["title"], "a\xEF\xBF\xBD(b\xEF\xBF\xBD");
}

TEST(PageWithRecord, PageWithoutAPlaceIsAnError) {
    EXPECT_THROW(pageWithRecord("<html></html>", Json::object()), std::logic_error);
}

TEST(ProteinRecord, HoldsResultsRestraintsAndOrigin) {
    const Json results = {{"schema", "orvix-results"}, {"residues", {{{"resid", 1}}}}};
    const Json record = proteinRecord(results, {{"cyana", "a.aco", "x\r\n"}},
                                      {"orvix", "4.5", "", "2026-01-31T12:00:00Z"});
    EXPECT_EQ(
        record.dump(),
        R"({"schema":"orvix-report","schema_version":1,"program":{"name":"orvix","version":"4.5"},)"
        R"("written":null,"predicted":"2026-01-31T12:00:00Z","results":{"schema":"orvix-results",)"
        R"("residues":[{"resid":1}]},"restraints":[{"format":"cyana","file":"a.aco","text":"x\r\n"}]})");
}

TEST(IndexEntry, CountsClassesStructureAndFindings) {
    const Json results = Json::parse(R"({
        "input": {"title": "A protein"},
        "completeness": {"N": {"assigned": 1, "expected": 2}, "CA": {"assigned": 4, "expected": 4}},
        "outliers": [{"serious": true}, {"serious": false}, {}],
        "shift_offsets": {"CA": {"offset": 0.5, "significant": true}, "HA": null},
        "residues": [
            {"class": "None", "secondary_structure": null},
            {"class": "Strong", "secondary_structure": {"state": "H"}},
            {"class": "Dyn", "secondary_structure": {"state": "E"}},
            {"class": "Bad", "secondary_structure": {"state": "L"}},
            {"class": "Generous"}, {"class": "Warn"}, {"class": "new word"}]})");
    const Json entry = indexEntry(results, "p1", "p1/report.html");
    EXPECT_EQ(
        entry.dump(),
        R"({"name":"p1","title":"A protein","report":"p1/report.html","residues":7,)"
        R"("classes":{"Strong":1,"Generous":1,"Warn":1,"Dyn":1,"Bad":1,"None":2},"strip":"NSDBGWN",)"
        R"("structure":"LHELLLL","completeness":0.833,"outliers":3,"serious":1,)"
        R"("offsets":{"CA":{"offset":0.5,"significant":true},"HA":null}})");
}

TEST(IndexEntry, ResultsOfOtherFormsGiveMissingValues) {
    for (
        const char* text :
        {"null", "[]", "7", "{}",
         R"({"residues": 3, "input": [], "outliers": "x", "completeness": 1})",
         R"({"residues": {"class": 1}, "completeness": {"N": 3, "C": {"assigned": "1", "expected": 2}, "CA": {"assigned": 9e18, "expected": 9223372036854775807}, "CB": {"assigned": -1, "expected": 3}}})"}) {
        const Json entry = indexEntry(Json::parse(text), "p", "");
        EXPECT_EQ(entry["residues"], 0) << text;
        EXPECT_TRUE(entry["report"].is_null() && entry["outliers"].is_null() &&
                    entry["completeness"].is_null())
            << text;
    }
    const Json odd = indexEntry(
        Json::parse(R"({"residues": [1, null, {"class": 5, "secondary_structure": "H"}]})"), "p",
        "");
    EXPECT_EQ(odd["strip"], "NNN");
}

TEST(IndexRecord, KeepsTheOrderOfItsEntries) {
    const Json record = indexRecord({{{"name", "b"}}, {{"name", "a"}}}, {{"c.str", "no shifts"}},
                                    "batch", {"orvix", "4.5", "", ""});
    EXPECT_EQ(record["schema"], "orvix-report-index");
    EXPECT_EQ(record["proteins"].dump(), R"([{"name":"b"},{"name":"a"}])");
    EXPECT_EQ(record["failures"].dump(), R"([{"name":"c.str","reason":"no shifts"}])");
}

}  // namespace
}  // namespace orvix::report
