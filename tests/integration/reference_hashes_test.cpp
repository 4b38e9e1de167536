// Reference hashes: every operation the module offers, with a few settings each, applied to the
// bundled samples through ztraster; a hash of the result must match the one on record. A
// rework that changes a single pixel of any operation shows here. A deliberate change is
// recorded with ZT_UPDATE_REFERENCE_HASHES=1 and shows in the diff of the record.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>

#include "tests/integration/cli_support.h"

namespace {

const std::string kRecord = std::string(ZT_SOURCE_DIR) + "/tests/integration/reference_hashes.txt";

struct SCase {
    std::string hash;               // 16 hex digits, or "-" before the first recording
    std::vector<std::string> args;  // ztraster apply arguments; @name is samples/name.png
    std::string line;               // as written, for messages
};

// Words separated by spaces; single quotes keep spaces inside a word, \r and \n stand for
// the line ends that a matrix needs.
std::vector<std::string> Words(const std::string& aText) {
    std::vector<std::string> words;
    std::string word;
    bool quoted = false, any = false, escaped = false;
    for (char c : aText) {
        if (escaped) {
            word += c == 'r' ? '\r' : c == 'n' ? '\n' : c;
            escaped = false;
        } else if (c == '\\') {
            escaped = true;
            any = true;
        } else if (c == '\'') {
            quoted = !quoted;
            any = true;
        } else if (c == ' ' && !quoted) {
            if (any) words.push_back(word);
            word.clear();
            any = false;
        } else {
            word += c;
            any = true;
        }
    }
    if (any) words.push_back(word);
    return words;
}

// The record: comment lines start with #; a case is "HASH ARGS...".
std::vector<SCase> ReadRecord() {
    std::vector<SCase> cases;
    std::ifstream in(kRecord);
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::vector<std::string> words = Words(line);
        if (words.size() < 2) continue;
        SCase c{words[0], {words.begin() + 1, words.end()}, line.substr(line.find(' ') + 1)};
        cases.push_back(std::move(c));
    }
    return cases;
}

// FNV-1a over the size and the pixels as 0xAARRGGBB words, little-endian.
std::string HashOf(const ztio::Image& aImage) {
    uint64_t h = 0xcbf29ce484222325ull;
    auto add = [&](uint32_t aWord) {
        for (int i = 0; i < 4; ++i) {
            h ^= (aWord >> (8 * i)) & 0xFF;
            h *= 0x100000001b3ull;
        }
    };
    add(aImage.width);
    add(aImage.height);
    for (uint32_t p : aImage.pixels) add(p);
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(h));
    return text;
}

class ReferenceHashes : public clitest::CliTest {
protected:
    ReferenceHashes() : CliTest("zt-reference") {}

    // The hash of one case's output, or a message starting with "!" when it did not run.
    std::string Apply(const SCase& aCase) {
        std::vector<std::string> args = {"apply"};
        for (const std::string& a : aCase.args)
            args.push_back(a.size() > 1 && a[0] == '@' ? std::string(ZT_SAMPLES_DIR) + "/" + a.substr(1) + ".png" : a);
        args.push_back("-o");
        args.push_back(Path("out.png"));
        const clitest::SResult r = Run(args);
        if (r.status != 0) return "!exit " + std::to_string(r.status) + ": " + r.err;
        return HashOf(Read(Path("out.png")));
    }
};

TEST_F(ReferenceHashes, EveryCaseGivesTheRecordedPixels) {
    const std::vector<SCase> cases = ReadRecord();
    ASSERT_FALSE(cases.empty()) << kRecord;
    const bool update = std::getenv("ZT_UPDATE_REFERENCE_HASHES") != nullptr;
    std::ostringstream updated;
    {
        std::ifstream in(kRecord);
        std::string line;
        while (std::getline(in, line) && line.rfind('#', 0) == 0) updated << line << "\n";
    }
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.line);
        const std::string hash = Apply(c);
        ASSERT_NE('!', hash[0]) << hash;
        if (update)
            updated << hash << " " << c.line << "\n";
        else
            EXPECT_EQ(c.hash, hash);
    }
    if (update) std::ofstream(kRecord) << updated.str();
}

TEST_F(ReferenceHashes, EveryOperationHasACase) {
    std::set<std::string> covered;
    for (const SCase& c : ReadRecord()) covered.insert(c.args.at(0));
    const clitest::SResult list = Run({"list"});
    ASSERT_EQ(0, list.status) << list.err;
    std::istringstream lines(list.out);
    std::string line;
    int operations = 0;
    while (std::getline(lines, line)) {
        const std::string name = line.substr(0, line.find(' '));
        if (name.empty()) continue;
        ++operations;
        EXPECT_TRUE(covered.count(name)) << name << " has no case in " << kRecord;
    }
    EXPECT_GT(operations, 0);
}

}  // namespace
