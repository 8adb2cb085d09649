#include "core/release/finding_report.hpp"
#include "tests/support/tables.hpp"

#include <gtest/gtest.h>

namespace kestu::tests {
namespace {

using ReleaseCheck::Checked;
using ReleaseCheck::Reporting;

const std::string odd = "de-DE: \"A & B\" <c>\x1b[31m\n\xEF\xBF\xBF]]>100%";
const Findings hostile = {
    {Level::note, "version", std::nullopt, "Fine."},
    {Level::warning, "limit", "de-DE", odd, {}, "metadata/a,b:c%.json", 3},
    {Level::error, "limit", "de-DE", "de-DE: second.", {}, "other.json"},
};

TEST(FindingReport, JUnit) {
  const std::string head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
  auto suite = [&](const std::string& counts, const std::string& cases) {
    std::string name = " name=\"kestu release check 1.2\" " + counts + " errors=\"0\"";
    return head + "<testsuites" + name + ">\n  <testsuite" + name + " skipped=\"0\">\n" + cases +
           "  </testsuite>\n</testsuites>\n";
  };
  auto element = [](const std::string& name, const std::string& rest) {
    return "    <testcase classname=\"kestu.release-check\" name=\"" + name + "\"" + rest;
  };
  const std::string escaped = "de-DE: &quot;A &amp; B&quot; &lt;c&gt;\\u{1b}[31m ]]&gt;100%";
  const std::string fine = element("version", ">\n      <system-out>note: Fine.</system-out>\n    </testcase>\n");
  const std::string placed = " file=\"apps/sun/metadata/a,b:c%.json\" line=\"3\">\n      ";
  const std::string lines = "warning: " + escaped + "\nerror: de-DE: second.";
  const std::string end = "\n    </testcase>\n";
  const Findings warning = {hostile[1]};
  for (const auto& [what, findings, strict, counts, cases] :
       Rows<const char*, Findings, bool, const char*, std::string>{
           {"nothing at all", Findings(), true, "tests=\"1\" failures=\"0\"", element("check", "/>\n")},
           {"an error beside a warning", hostile, false, "tests=\"2\" failures=\"1\"",
            fine + element("limit de-DE", placed + "<failure message=\"de-DE: second.\" type=\"error\">" + lines +
                                              "</failure>" + end)},
           {"warnings pass", warning, false, "tests=\"1\" failures=\"0\"",
            element("limit de-DE", placed + "<system-out>warning: " + escaped + "</system-out>" + end)},
           {"and with --strict fail", warning, true, "tests=\"1\" failures=\"1\"",
            element("limit de-DE", placed + "<failure message=\"" + escaped +
                                       "\" type=\"warning\">warning: " + escaped + "</failure>" + end)},
       })
    EXPECT_EQ(ReleaseCheck::junit(findings, {}, {"kestu release check 1.2", "apps/sun", strict}), suite(counts, cases))
        << what;
  const Checked checked = {{"de-DE", "fr-FR"}, {"limit", "stale"}, {"flags"}};
  EXPECT_EQ(ReleaseCheck::junit({{Level::note, "stale", std::nullopt, "No."}}, checked,
                                {"kestu release check 1.2", "", false}),
            suite("tests=\"4\" failures=\"0\"", element("stale", ">\n      <system-out>note: No.</system-out>" + end) +
                                                    element("limit de-DE", "/>\n") + element("limit fr-FR", "/>\n") +
                                                    element("flags", "/>\n")))
      << "what passed, and not what wasn't looked at";
}

TEST(FindingReport, GitHubAnnotations) {
  const std::string warning = "file=metadata/a%2Cb%3Ac%25.json,line=3,title=kestu%3A limit de-DE::de-DE: \"A & B\" "
                              "<c>\\u{1b}[31m \xEF\xBF\xBF]]>100%25\n";
  const std::string error = "::error file=other.json,title=kestu%3A limit de-DE::de-DE: second.\n";
  const std::string note = "::notice title=kestu%3A version::Fine.\n";
  EXPECT_EQ(ReleaseCheck::githubAnnotations(hostile, {"kestu metadata validate", "", false}),
            error + "::warning " + warning + note);
  EXPECT_EQ(ReleaseCheck::githubAnnotations({hostile[1]}, {"kestu metadata validate", "", true}), "::error " + warning);
  EXPECT_EQ(ReleaseCheck::githubAnnotations({}, {}), "");
}

} // namespace
} // namespace kestu::tests
