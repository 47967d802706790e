#pragma once

#include <string_view>

namespace orvix::report {

/// What stands in a page, exactly once, where its record goes: inside of a script element of the
/// type application/json. In the record every `<` is written as `\u003c`, so that no text of it
/// ends the element.
inline constexpr std::string_view recordMark = "@ORVIX_RECORD@";

/// The page of one protein, for a record of the schema orvix-report. The build makes it of `page/`.
extern const std::string_view proteinPage;

/// The page of a shift check, for a record of the schema orvix-check-page.
extern const std::string_view checkPage;

/// The page over many predictions, for a record of the schema orvix-report-index.
extern const std::string_view indexPage;

}  // namespace orvix::report
