#include "core/console/text_style.hpp"
#include "core/support/text.hpp"
#include "core/support/utf8.hpp"
#include "tests/support/every_command_test.hpp"
#include "tests/support/free_text.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <functional>
#include <utility>

namespace kestu::tests {
namespace {

using nlohmann::json;

/// Colours that kestu never sets, a title, C1 controls, overrides and isolates of the direction, blanks of all kinds.
const std::string hostile = std::string("\x1B[7777m \x1B]0;no\x07 \xC2\x9B"
                                        "5n \xE2\x80\xAE"
                                        "desrever \xE2\x81\xA6 \r\n\t \b\x7F ") +
                            '\0' + " \xE2\x80\xA8 end";
const std::string hostileBytes = "raw \x9B"
                                 "5n \x1B[7777m \xE2\x80\xAE\xFF \rend";

/// What would steer a terminal; empty where there is none. `redraws` where a line may be drawn anew, as on a screen.
std::string harm(const std::string& written, bool redraws) {
  std::string text = written;
  if (redraws) {
    for (const std::string own : {"\r\x1B[2K", "\r[|]", "\r[/]", "\r[\xE2\x94\x80]", "\r[\\]"}) {
      for (std::size_t at = 0; (at = text.find(own, at)) != std::string::npos;) text.erase(at, own.size());
    }
    text = TextStyle::plain(text);
  }
  for (std::size_t at = 0; at < text.size();) {
    auto decoded = UTF8::decode(text, at);
    char32_t c = decoded.value;
    bool control = (c < 0x20 && c != '\n') || (c >= 0x7F && c < 0xA0);
    bool turns = (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069) || c == 0x2028 || c == 0x2029;
    if (control || turns || decoded.broken) {
      return "U+" + std::to_string(c) + " in: " + text.substr(at - std::min<std::size_t>(at, 80), 160);
    }
    at += decoded.length;
  }
  return written.find("[7777m") != std::string::npos && written.find("\x1B[7777m") != std::string::npos ? "a style"
                                                                                                        : "";
}

class HostileText : public EveryCommandTest, public testing::WithParamInterface<std::string> {
 protected:
  int shown = 0; ///< outputs with something of the hostile text in them

  void serve(const std::function<bool(const std::string&)>& chosen, const std::string& text) {
    server.onAnswer([chosen, text](const sandbox::Request&, sandbox::Answer& answer) {
      if (answer.contentType != "application/json" || answer.body.empty()) return;
      json body = json::parse(answer.body);
      appendToTexts(body, chosen, text);
      answer.body = body.dump();
    });
  }

  void lay() {
    std::filesystem::remove_all(repo.path());
    std::filesystem::create_directories(repo.path() / ".git");
    layRepository(repo, hostile, "secret");
    const std::string& name = hostileBytes;
    repo.write("metadata/listing/" + name + ".json", "{\"subtitle\": \"" + hostileBytes + "\"}");
    repo.write("metadata/screenshots/en-US/iPhone 6.9/" + name + ".jpg", jpeg(1290, 2796));
    repo.write("metadata/screenshots/" + name + "/iPhone 6.9/01.jpg", "no picture");
    repo.write("metadata/previews/frames.json", "{\"" + hostileBytes + "\": 1}");
    repo.write("page/" + name + ".md", "# " + hostileBytes);
    repo.write(name + ".swift", "import KestuKit\nlet a = KestuFlags.isOn(\"" + hostileBytes.substr(0, 14) + "\")\n");
    server.withState(laySandbox);
    store.items.clear();
    signIn();
  }

  Ran runOn(FakeTerminal& screen, const Words& words) {
    Environment captured(environment);
    Console console(screen, captured, clock);
    CurlTransport transport;
    AnnouncedVersion announced;
    Context context{captured, here, clock, console, transport, store, announced, nullptr, stopping.get_token()};
    int status = runEntry(context, resolved(words));
    return {status, screen.outText(), screen.errText()};
  }

  void expectHarmless(const Ran& ran, bool redraws, const std::string& what) {
    EXPECT_EQ(harm(ran.out, redraws), "") << what;
    EXPECT_EQ(harm(ran.err, redraws), "") << what;
    shown += (ran.out + ran.err).find("7777m") != std::string::npos ? 1 : 0;
  }

  void tried(const SomeCommand& command, bool everyText) {
    auto chosen = [everyText](const std::string& key) { return everyText ? key != "token" : isFreeText(key); };
    const Words careful = command.tries ? command.with({"--dry-run"}) : command.words;
    // A pipe, and all forms for other programs; a question at a terminal, which is answered with no.
    std::vector<Words> forms = command.forms;
    forms.insert(forms.begin(), Words());
    for (std::size_t at = 0; at <= forms.size(); ++at) {
      const bool atTerminal = at == forms.size();
      lay();
      serve([](const std::string&) { return false; }, "");
      FakeTerminal unseen;
      Words before = command.before;
      if (!before.empty()) {
        before.emplace_back("--yes");
        runOn(unseen, before);
      }
      serve(chosen, hostile);
      FakeTerminal screen(60), pipe;
      screen.type("n");
      Words words = atTerminal ? command.words : careful;
      if (!atTerminal) words.insert(words.end(), forms[at].begin(), forms[at].end());
      Ran ran = runOn(atTerminal ? screen : pipe, words);
      expectHarmless(ran, atTerminal, Text::joined(words, " "));
      if (words.back() == "json" && ran.out.starts_with('{')) EXPECT_TRUE(json::accept(ran.out)) << ran.out;
      if (!atTerminal || everyText) continue;
      for (const std::string& line : Text::split(TextStyle::plain(ran.out), '\n')) {
        bool copied = line.starts_with("Next: ") || line.find("kestu ") != std::string::npos;
        EXPECT_TRUE(copied || Text::columns(line) <= 60) << Text::joined(words, " ") << ": " << line;
      }
    }
  }
};

TEST_P(HostileText, DoesNoHarm) {
  for (const SomeCommand& command : everyCommand()) {
    if (command.path.substr(0, command.path.find(' ')) != GetParam()) continue;
    tried(command, false);
    tried(command, true);
  }
  for (const char* family : {"status", "whoami", "apps", "kit", "builds", "versions", "metadata", "assets", "release",
                             "submit", "events", "prices", "offer-codes", "doctor"}) {
    if (family == GetParam()) EXPECT_GT(shown, 0) << "nothing of it was shown";
  }
}

INSTANTIATE_TEST_SUITE_P(All, HostileText, testing::ValuesIn(commandFamilies()), familyName);

class LongText : public HostileText {};

/// One line of millions of bytes, with blanks to break it at and without, in a good answer and in a refusal.
TEST_P(LongText, IsReadAndShown) {
  struct Row {
    Words words;
    std::size_t size; ///< of the text as JSON has it
    int status;       ///< 0: a good answer
    bool atTerminal;
    std::size_t least, most; ///< bytes that are written
  };
  constexpr std::size_t million = 1'000'000, any = 100 * million;
  lay();
  for (const Row& row : std::vector<Row>{{{"apps"}, million, 0, false, million / 6, any},
                                         {{"apps"}, million, 0, true, million / 6, any},
                                         {{"kit", "flags", "list"}, million, 0, true, 1, any},
                                         {{"builds", "list"}, million, 0, false, 1, any},
                                         {{"apps"}, 10 * million, 503, true, 10'000, 100'000},
                                         {{"apps"}, 10 * million, 409, false, 10'000, 100'000}}) {
    SCOPED_TRACE(row.words.back() + ", " + std::to_string(row.size) + ", " + std::to_string(row.status));
    std::string text;
    for (std::size_t size = 0, each = json(GetParam()).dump().size() - 2; size < row.size; size += each) {
      text += GetParam();
    }
    bool done = false; // one of the texts alone
    serve([&](const std::string& key) { return (key == "name" || key == "notes") && !std::exchange(done, true); },
          row.status == 0 ? text : "");
    if (row.status != 0) server.onNext({.status = row.status, .body = json{{"message", text}}.dump()});
    FakeTerminal screen(60), pipe;
    Ran ran = runOn(row.atTerminal ? screen : pipe, row.words);
    const std::string& written = row.status == 0 ? ran.out : ran.err;
    EXPECT_GT(written.size(), row.least);
    EXPECT_LT(written.size(), row.most);
    EXPECT_EQ(harm(written.substr(0, 100'000), row.atTerminal), "");
  }
}
INSTANTIATE_TEST_SUITE_P(All, LongText, testing::Values("longer ", "x", "\x1B"));

} // namespace
} // namespace kestu::tests
