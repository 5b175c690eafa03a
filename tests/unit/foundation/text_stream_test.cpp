#include "foundation/text_stream.h"

#include <tuple>

#include "platform/files.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"

namespace {

using zellauncher::atEnd;
using zellauncher::closeTextStream;
using zellauncher::flushTextStream;
using zellauncher::LineBlanks;
using zellauncher::lineCharacters;
using zellauncher::openFile;
using zellauncher::putText;
using zellauncher::rewindTextStream;
using zellauncher::scanLine;
using zellauncher::scanNumber;
using zellauncher::ScanResult;
using zellauncher::skipWhiteSpace;
using zellauncher::TextStream;

using namespace std::string_literals;

constexpr const wchar_t* path = L"C:\\data\\text.txt";
using Lines = std::vector<std::wstring>;
using ScannedNumber = std::tuple<ScanResult, std::int32_t, std::wstring>;  // result, number, rest of the line
constexpr std::int32_t initialNumber = 5;

class TextStreams : public launchertest::OnMachine {
protected:
    TextStreams() { machine.makeDirectory(L"C:\\data"); }

    // Runs the body with an open stream on a file with this content.
    void withFile(const std::string& content, const char* mode,
                  const std::function<void(TextStream&)>& body) {
        machine.writeFile(path, content);
        const auto outcome = run([&] {
            TextStream text = openFile(path, mode);
            ASSERT_NE(text.stream, nullptr);
            body(text);
            closeTextStream(text);
        });
        EXPECT_EQ(outcome.processEnd().status, 0U);
    }

    // The lines of a file with this content, up to the first read that does not match.
    Lines linesOf(const std::string& content, LineBlanks blanks) {
        Lines all;
        withFile(content, "r", [&](TextStream& text) {
            for (std::wstring line; scanLine(text, blanks, line) == ScanResult::matched;) {
                all.push_back(line);
            }
        });
        return all;
    }
    Lines keptLines(const std::string& content) { return linesOf(content, LineBlanks::keepLeading); }
    Lines skippedLines(const std::string& content) { return linesOf(content, LineBlanks::skipLeading); }

    // Reads the number at the beginning of a file, and then the rest of its line.
    ScannedNumber numberIn(const std::string& content) {
        ScannedNumber scanned{ScanResult::nothing, initialNumber, L""};
        withFile(content, "r", [&](TextStream& text) {
            auto& [result, value, rest] = scanned;
            result = scanNumber(text, value);
            scanLine(text, LineBlanks::keepLeading, rest);
        });
        return scanned;
    }

    std::string onDisk() const { return machine.readFile(path).value_or("no file"); }

    std::size_t count(const std::string& operation) const {
        std::size_t calls = 0;
        for (const simulation::Operation& made : machine.operations()) {
            calls += made.name == operation ? 1U : 0U;
        }
        return calls;
    }
};

// --- Opening ----------------------------------------------------------------------------------------

TEST_F(TextStreams, OpeningForUpdateRemovesAFinalCtrlZ) {
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"\x1A", ""},
        {"one\r\n\x1A", "one\r\n"},
        {"one\x1A\x1A", "one\x1A"},
        {"one\x1Atwo", "one\x1Atwo"},
        {"one\x1A\r\n", "one\x1A\r\n"},
    };
    for (const auto& [content, expected] : cases) {
        for (const char* mode : {"r+", "a+"}) {
            withFile(content, mode, [](TextStream&) {});
            EXPECT_EQ(onDisk(), expected) << mode;
        }
        withFile(content, "r", [](TextStream&) {});
        EXPECT_EQ(onDisk(), content);
    }
}

TEST_F(TextStreams, OpenedFileIsReadFromItsStart) {
    for (const char* mode : {"r", "r+", "a+"}) {
        for (const char* content : {"one\r\n", "one\r\n\x1A"}) {
            withFile(content, mode, [&](TextStream& text) {
                std::wstring line;
                EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::matched);
                EXPECT_EQ(line, L"one") << mode;
            });
        }
    }
}

TEST_F(TextStreams, TextAppendedAfterAFinalCtrlZIsReadAgain) {
    withFile("one\r\n\x1A", "a+", [](TextStream& text) { EXPECT_EQ(putText(text, L"two\n"), 4); });
    EXPECT_EQ(onDisk(), "one\r\ntwo\r\n");
}

TEST_F(TextStreams, FinalCtrlZThatCannotBeRemovedFailsTheOpening) {
    for (const char* operation : {"truncateStream", "rewindStream"}) {
        machine.writeFile(path, "one\x1A");
        machine.inject(launchertest::failing(operation, platform::errorAccessDenied));
        run([] { EXPECT_EQ(openFile(path, "a+").stream, nullptr); });
        run([] { EXPECT_TRUE(platform::deleteFile(path)) << "the file is still open"; });
    }
}

// The lock file is opened while another launcher has locked it.
TEST_F(TextStreams, FinalCtrlZThatCannotBeReadStaysInAnUpdatedFile) {
    for (const char* operation : {"seekToLastByte", "readStream"}) {
        machine.inject(launchertest::failing(operation, platform::errorLockViolation));
        withFile("one\x1A", "r+", [](TextStream&) {});
        EXPECT_EQ(onDisk(), "one\x1A");
    }
}

TEST_F(TextStreams, LastByteThatCannotBeReadFailsAppending) {
    for (const char* operation : {"seekToLastByte", "readStream"}) {
        machine.writeFile(path, "one\x1A");
        machine.inject(launchertest::failing(operation, platform::errorLockViolation));
        run([] { EXPECT_EQ(openFile(path, "a+").stream, nullptr); });
        run([] { EXPECT_TRUE(platform::deleteFile(path)) << "the file is still open"; });
    }
}

// --- Lines ------------------------------------------------------------------------------------------

TEST_F(TextStreams, LineEndsWithOrWithoutACarriageReturn) {
    const Lines expected = {L"one", L"two=2 ", L"three"};
    EXPECT_EQ(keptLines("one\r\ntwo=2 \r\nthree\r\n"), expected);
    EXPECT_EQ(keptLines("one\ntwo=2 \nthree\n"), expected);
    EXPECT_EQ(keptLines("one\r\ntwo=2 \nthree"), expected);
}

TEST_F(TextStreams, LineEndOfTheLastLineReachesTheEnd) {
    withFile("one\r\ntwo\r\n\r\n", "r", [](TextStream& text) {
        std::wstring line;
        EXPECT_FALSE(atEnd(text));
        EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::matched);
        EXPECT_FALSE(atEnd(text));
        EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::matched);
        EXPECT_EQ(line, L"two");
        EXPECT_TRUE(atEnd(text));
        EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::endOfData);
        EXPECT_EQ(line, L"");
    });
}

TEST_F(TextStreams, LastLineWithoutALineEndReachesTheEnd) {
    withFile("one", "r", [](TextStream& text) {
        std::wstring line;
        EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::matched);
        EXPECT_EQ(line, L"one");
        EXPECT_TRUE(atEnd(text));
    });
}

TEST_F(TextStreams, EmptyFileIsAtItsEndAfterTheFirstRead) {
    for (const LineBlanks blanks : {LineBlanks::keepLeading, LineBlanks::skipLeading}) {
        withFile("", "r", [&](TextStream& text) {
            EXPECT_FALSE(atEnd(text));
            std::wstring line = L"before";
            EXPECT_EQ(scanLine(text, blanks, line), ScanResult::endOfData);
            EXPECT_EQ(line, L"");
            EXPECT_TRUE(atEnd(text));
        });
    }
}

TEST_F(TextStreams, LineHasAtMost2024Characters) {
    const std::string longest(lineCharacters, 'x');
    const std::wstring wide(lineCharacters, L'x');
    EXPECT_EQ(keptLines(longest.substr(1) + "\r\nnext"), (Lines{wide.substr(1), L"next"}));
    EXPECT_EQ(keptLines(longest + "\r\nnext"), (Lines{wide, L"next"}));
    EXPECT_EQ(keptLines(longest + "y\r\nnext"), (Lines{wide, L"y", L"next"}));
    EXPECT_EQ(keptLines(longest + longest + "y\nnext"), (Lines{wide, wide, L"y", L"next"}));
    EXPECT_EQ(keptLines(longest), (Lines{wide}));
    EXPECT_EQ(skippedLines("  " + longest + "y"), (Lines{wide, L"y"}));
}

TEST_F(TextStreams, CarriageReturnCountsTowardsTheLineLengthUnlessALineFeedFollows) {
    const std::string almost(lineCharacters - 1, 'x');
    const std::wstring wide(lineCharacters - 1, L'x');
    EXPECT_EQ(keptLines(almost + "\ry\nnext"), (Lines{wide + L"\r", L"y", L"next"}));
    EXPECT_EQ(keptLines(almost + "\r\r\nnext"), (Lines{wide + L"\r", L"next"}));
    EXPECT_EQ(keptLines(almost + "x\r\r\nnext"), (Lines{wide + L"x", L"next"}));
    EXPECT_EQ(keptLines(almost + "x\ry\nnext"), (Lines{wide + L"x", L"y", L"next"}));
    EXPECT_EQ(keptLines(almost + "\r"), (Lines{wide + L"\r"}));
}

TEST_F(TextStreams, BlanksAfterACutLineAreLost) {
    const std::string longest(lineCharacters, 'x');
    const std::wstring wide(lineCharacters, L'x');
    EXPECT_EQ(keptLines(longest + " \t y\nnext"), (Lines{wide, L"y", L"next"}));
    EXPECT_EQ(keptLines(longest.substr(1) + "  y"), (Lines{wide.substr(1) + L" ", L"y"}));
}

TEST_F(TextStreams, EmptyFirstLineMatchesNothingUntilSkipped) {
    withFile("\r\n  one\r\n", "r", [](TextStream& text) {
        std::wstring line = L"before";
        EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::nothing);
        EXPECT_EQ(line, L"");
        EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::nothing);
        EXPECT_FALSE(atEnd(text));
        skipWhiteSpace(text);
        EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::matched);
        EXPECT_EQ(line, L"one");
    });
}

TEST_F(TextStreams, ReadNextLineSkipsAnEmptyFirstLine) {
    withFile("\r\n  one\r\ntwo", "r", [](TextStream& text) {
        std::wstring line;
        EXPECT_TRUE(zellauncher::readNextLine(text, line));
        EXPECT_EQ(line, L"one");
        EXPECT_TRUE(zellauncher::readNextLine(text, line));
        EXPECT_EQ(line, L"two");
        EXPECT_FALSE(zellauncher::readNextLine(text, line));
    });
}

TEST_F(TextStreams, EmptyFileHasNoNextLine) {
    withFile("", "r", [](TextStream& text) {
        std::wstring line;
        EXPECT_FALSE(zellauncher::readNextLine(text, line));
    });
}

TEST_F(TextStreams, SkippingLeadingBlanksSkipsEmptyLines) {
    EXPECT_EQ(skippedLines("\r\n \t\v\f\r\n  one\r\n\r\n\r\ntwo"), (Lines{L"one", L"two"}));
}

TEST_F(TextStreams, WhiteSpaceAfterALineIsSkipped) {
    const Lines expected = {L"a  ", L"b", L"c"};
    EXPECT_EQ(keptLines("a  \r\n\r\n \t b\n\v\f\r\rc"), expected);
}

TEST_F(TextStreams, LeadingBlanksOfTheFirstLineAreKeptOrSkipped) {
    EXPECT_EQ(keptLines(" \ta\nb"), (Lines{L" \ta", L"b"}));
    EXPECT_EQ(skippedLines(" \ta\nb"), (Lines{L"a", L"b"}));
}

TEST_F(TextStreams, WhiteSpaceAloneIsALineOnlyIfKept) {
    EXPECT_EQ(keptLines("  \t"), (Lines{L"  \t"}));
    EXPECT_EQ(keptLines("  \t\r\n\r\n"), (Lines{L"  \t"}));
    withFile(" \t\r\n \v\f\n", "r", [](TextStream& text) {
        std::wstring line;
        EXPECT_EQ(scanLine(text, LineBlanks::skipLeading, line), ScanResult::endOfData);
        EXPECT_TRUE(atEnd(text));
    });
}

TEST_F(TextStreams, ExactlySixCharactersAreWhiteSpace) {
    for (int number = 0; number <= 0xFF; ++number) {
        if (number == 0x1A) {
            continue;
        }
        const std::string content = "a\n" + std::string(1, static_cast<char>(number)) + "b";
        const bool isWhite = number == ' ' || (number >= '\t' && number <= '\r');
        const Lines read = keptLines(content);
        ASSERT_EQ(read.size(), 2U) << number;
        const std::wstring whole{static_cast<wchar_t>(number), L'b'};
        EXPECT_EQ(read[1], isWhite ? L"b" : number == 0 ? L"" : whole) << number;
    }
}

TEST_F(TextStreams, EveryByteIsOneCharacter) {
    EXPECT_EQ(keptLines("\x7F\x80\xA0\xE4\xFF\nb"), (Lines{L"\u007F\u0080\u00A0\u00E4\u00FF", L"b"}));
}

TEST_F(TextStreams, NulEndsTheTextOfItsLine) {
    EXPECT_EQ(keptLines("ab\0cd\r\nnext"s), (Lines{L"ab", L"next"}));
    EXPECT_EQ(keptLines("\0cd\r\nnext"s), (Lines{L"", L"next"}));
    EXPECT_EQ(keptLines("ab\0"s), (Lines{L"ab"}));
}

TEST_F(TextStreams, BytesAfterANulCountTowardsTheLineLength) {
    const std::string content = "ab\0"s + std::string(lineCharacters - 3, 'x') + "next";
    EXPECT_EQ(keptLines(content), (Lines{L"ab", L"next"}));
}

TEST_F(TextStreams, LoneCarriageReturnBelongsToItsLine) {
    EXPECT_EQ(keptLines("a\rb\nc"), (Lines{L"a\rb", L"c"}));
    EXPECT_EQ(keptLines("a\r"), (Lines{L"a\r"}));
    EXPECT_EQ(keptLines("a\r\r\nb"), (Lines{L"a\r", L"b"}));
    EXPECT_EQ(keptLines("\ra\nb"), (Lines{L"\ra", L"b"}));
    EXPECT_EQ(keptLines("\r"), (Lines{L"\r"}));
}

TEST_F(TextStreams, LoneCarriageReturnBetweenLinesIsWhiteSpace) {
    EXPECT_EQ(skippedLines("\ra\n\r\rb"), (Lines{L"a", L"b"}));
    EXPECT_EQ(skippedLines("\r"), Lines{});
}

TEST_F(TextStreams, ControlZEndsTheFile) {
    EXPECT_EQ(keptLines("a\r\nb\x1A"
                        "c\r\nd"),
              (Lines{L"a", L"b"}));
    EXPECT_EQ(keptLines("a\r\x1A\n"), (Lines{L"a\r"}));
    EXPECT_EQ(keptLines("\x1A"
                        "a"),
              Lines{});
    EXPECT_EQ(skippedLines("  \x1A"
                           "a"),
              Lines{});
    const std::string block = std::string(16382, ' ') + "a\n";
    EXPECT_EQ(skippedLines(block + "\x1A"), (Lines{L"a"}));
    withFile(
        "a\r\n\x1A"
        "b",
        "r", [](TextStream& text) {
            std::wstring line;
            EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::matched);
            EXPECT_TRUE(atEnd(text));
            skipWhiteSpace(text);
            EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::endOfData);
            rewindTextStream(text);
            EXPECT_FALSE(atEnd(text));
            EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::matched);
            EXPECT_EQ(line, L"a");
        });
}

TEST_F(TextStreams, Utf16FileIsReadByteByByte) {
    EXPECT_EQ(keptLines("\xFF\xFE"
                        "a\0=\0b\0\r\0\n\0c\0"s),
              (Lines{
                  L"\u00FF\u00FEa",
                  L"",
              }));
}

TEST_F(TextStreams, LineEndAcrossTwoBlocksIsOneLineFeed) {
    constexpr std::size_t blockSize = 16384;
    for (std::size_t length = blockSize - 6; length <= blockSize + 4; ++length) {
        std::string content;
        while (content.size() + 1500 < length) {
            content += std::string(1000, 'a') + "\r\n";
        }
        const std::size_t former = content.size() / 1002;
        content += std::string(length - 1 - content.size() - 60, 'c') + "\n" + std::string(60, 'd');
        ASSERT_EQ(content.size(), length);
        const Lines read = keptLines(content + "\r\nnext\r");
        ASSERT_EQ(read.size(), former + 3) << length;
        EXPECT_EQ(read[former], std::wstring(read[former].size(), L'c')) << length;
        EXPECT_EQ(read[former + 1], std::wstring(60, L'd')) << length;
        EXPECT_EQ(read[former + 2], L"next\r") << length;
    }
}

TEST_F(TextStreams, NulsAreSkipped) {
    withFile("\0\0one\0\r\n"s, "r", [](TextStream& text) {
        std::wstring line;
        zellauncher::skipNuls(text);
        zellauncher::skipNuls(text);
        EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::matched);
        EXPECT_EQ(line, L"one");
    });
    withFile("\0"s, "r", [](TextStream& text) {
        zellauncher::skipNuls(text);
        EXPECT_TRUE(atEnd(text));
    });
}

TEST_F(TextStreams, LinesAreNumbered) {
    const std::string longest(lineCharacters, 'x');
    withFile("\r\n\none\r\ntwo\n \r\n" + longest + "rest\nlast", "r", [](TextStream& text) {
        std::vector<std::size_t> numbers;
        for (std::wstring line; scanLine(text, LineBlanks::skipLeading, line) == ScanResult::matched;) {
            numbers.push_back(text.position.lineBegin);
        }
        EXPECT_EQ(numbers, (std::vector<std::size_t>{3, 4, 6, 6, 7}));
        EXPECT_EQ(*text.position.path, path);
        rewindTextStream(text);
        std::wstring line;
        scanLine(text, LineBlanks::skipLeading, line);
        EXPECT_EQ(text.position.lineBegin, 3U);
    });
}

TEST_F(TextStreams, CarriageReturnsOfManyBlocksAreOneLine) {
    const std::string returns(100'000, '\r');
    EXPECT_EQ(skippedLines("one\n" + returns + "\r\ntwo" + returns + "\x1A" + returns + "three"),
              (Lines{L"one", L"two" + std::wstring(lineCharacters - 3, L'\r')}));
}

TEST_F(TextStreams, FileIsReadInBlocks) {
    std::string content;
    while (content.size() < 100000) {
        content += "one more line of text\r\n";
    }
    EXPECT_EQ(keptLines(content).size(), content.size() / 23);
    EXPECT_LE(count("readStream"), content.size() / 16384 + 3);
    const std::size_t former = count("readStream");
    withFile(content, "r", [&](TextStream& text) {
        std::wstring line;
        scanLine(text, LineBlanks::keepLeading, line);
        EXPECT_EQ(count("readStream"), former + 1);
    });
}

TEST_F(TextStreams, FailedReadIsTreatedAsTheEnd) {
    withFile("one\r\ntwo", "r", [this](TextStream& text) {
        machine.inject(launchertest::failing("readStream", platform::errorLockViolation));
        std::wstring line;
        EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::endOfData);
        EXPECT_TRUE(atEnd(text));
    });
}

// The carriage return makes the stream look for a line feed, and read again after that has failed.
TEST_F(TextStreams, FailureIsRememberedAfterALaterRead) {
    withFile("one\r", "r", [this](TextStream& text) {
        machine.inject(launchertest::failing("readStream", platform::errorLockViolation, {}, 2));
        std::wstring line;
        EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::matched);
        EXPECT_EQ(line, L"one\r");
        EXPECT_TRUE(atEnd(text));
        EXPECT_TRUE(text.hasFailed);
        rewindTextStream(text);
        EXPECT_FALSE(text.hasFailed);
    });
    EXPECT_EQ(count("readStream"), 3U);
}

TEST_F(TextStreams, RewindReadsEverythingAgain) {
    withFile("one\r\ntwo\r\n", "r", [](TextStream& text) {
        for (int turn = 0; turn < 2; ++turn) {
            std::wstring line;
            EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::matched);
            EXPECT_EQ(line, L"one");
            EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::matched);
            EXPECT_EQ(line, L"two");
            EXPECT_TRUE(atEnd(text));
            rewindTextStream(text);
            EXPECT_FALSE(atEnd(text));
        }
    });
}

TEST_F(TextStreams, AppendedTextIsSeenOnlyAfterARewind) {
    withFile("one\r\n", "r", [this](TextStream& text) {
        std::wstring line;
        EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::matched);
        machine.writeFile(path, "one\r\ntwo\r\n");
        EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::endOfData);
        rewindTextStream(text);
        EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::matched);
        EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::matched);
        EXPECT_EQ(line, L"two");
    });
}

TEST_F(TextStreams, RewindDropsTextReadAhead) {
    withFile("4711\r\n", "r+", [this](TextStream& text) {
        std::int32_t value = 0;
        EXPECT_EQ(scanNumber(text, value), ScanResult::matched);
        machine.writeFile(path, "815\r\n");
        rewindTextStream(text);
        EXPECT_EQ(scanNumber(text, value), ScanResult::matched);
        EXPECT_EQ(value, 815);
    });
}

// --- Numbers ----------------------------------------------------------------------------------------

TEST_F(TextStreams, NumberEndsAtTheFirstOtherCharacter) {
    EXPECT_EQ(numberIn(" \r\n\t-12 rest"), ScannedNumber(ScanResult::matched, -12, L" rest"));
    EXPECT_EQ(numberIn("+7abc"), ScannedNumber(ScanResult::matched, 7, L"abc"));
    EXPECT_EQ(numberIn("0x10"), ScannedNumber(ScanResult::matched, 0, L"x10"));
    EXPECT_EQ(numberIn("12\0003"s), ScannedNumber(ScanResult::matched, 12, L""));
}

TEST_F(TextStreams, NumberIsClampedTo32Bits) {
    EXPECT_EQ(numberIn("2147483647"), ScannedNumber(ScanResult::matched, 2147483647, L""));
    EXPECT_EQ(numberIn("2147483648"), ScannedNumber(ScanResult::matched, 2147483647, L""));
    EXPECT_EQ(numberIn("-99999999999999999999999999"),
              ScannedNumber(ScanResult::matched, -2147483647 - 1, L""));
    EXPECT_EQ(numberIn(std::string(9000, '9') + " x"), ScannedNumber(ScanResult::matched, 2147483647, L" x"));
}

TEST_F(TextStreams, TextThatIsNoNumberStaysUnread) {
    EXPECT_EQ(numberIn("  abc"), ScannedNumber(ScanResult::nothing, initialNumber, L"abc"));
    EXPECT_EQ(numberIn("-x"), ScannedNumber(ScanResult::nothing, initialNumber, L"x"));
}

TEST_F(TextStreams, EndOfDataGivesNoNumber) {
    for (const std::string content : {"", " \r\n\t",
                                      "\x1A"
                                      "12"}) {
        EXPECT_EQ(numberIn(content), ScannedNumber(ScanResult::endOfData, initialNumber, L""))
            << testing::PrintToString(content);
    }
}

TEST_F(TextStreams, NumberAtTheEndReachesTheEnd) {
    withFile("12", "r", [](TextStream& text) {
        std::int32_t value = 0;
        EXPECT_EQ(scanNumber(text, value), ScanResult::matched);
        EXPECT_TRUE(atEnd(text));
    });
    withFile("12\r\n", "r", [](TextStream& text) {
        std::int32_t value = 0;
        EXPECT_EQ(scanNumber(text, value), ScanResult::matched);
        EXPECT_FALSE(atEnd(text));
    });
}

// --- Writing ----------------------------------------------------------------------------------------

TEST_F(TextStreams, LineFeedsAreWrittenAsCrLf) {
    withFile("old", "w", [](TextStream& text) {
        EXPECT_EQ(putText(text, L"one\n\ntwo\r\n"), 10);
        EXPECT_EQ(putText(text, L""), 0);
        EXPECT_EQ(putText(text, L"\u00E4\u00FF%s"), 4);
    });
    EXPECT_EQ(onDisk(), "one\r\n\r\ntwo\r\r\n\xE4\xFF%s");
}

TEST_F(TextStreams, CharacterAbove255IsNotWritten) {
    withFile("", "w", [](TextStream& text) {
        EXPECT_EQ(putText(text, L"z\u0142oty\n"), -1);
        EXPECT_EQ(putText(text, L"|\u00FF\u0100"), -1);
        EXPECT_EQ(putText(text, L"|\n"), 2);
    });
    EXPECT_EQ(onDisk(), "z|\xFF|\r\n");
}

TEST_F(TextStreams, AppendingKeepsTheContent) {
    withFile("one\r\n", "a+", [](TextStream& text) { EXPECT_EQ(putText(text, L"two\n"), 4); });
    EXPECT_EQ(onDisk(), "one\r\ntwo\r\n");
}

TEST_F(TextStreams, AppendingCreatesTheFile) {
    run([] {
        TextStream text = openFile(path, "a+");
        EXPECT_EQ(putText(text, L"one\n"), 4);
        EXPECT_TRUE(closeTextStream(text));
        EXPECT_EQ(text.stream, nullptr);
    });
    EXPECT_EQ(onDisk(), "one\r\n");
}

TEST_F(TextStreams, WrittenTextIsReadAfterARewind) {
    withFile("old", "w+", [](TextStream& text) {
        EXPECT_EQ(putText(text, L"one\ntwo\n"), 8);
        rewindTextStream(text);
        std::wstring line;
        EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::matched);
        EXPECT_EQ(line, L"one");
    });
}

TEST_F(TextStreams, FileCanBeOverwrittenAfterARewind) {
    withFile("4711\r\nrest", "r+", [](TextStream& text) {
        std::int32_t value = 0;
        EXPECT_EQ(scanNumber(text, value), ScanResult::matched);
        rewindTextStream(text);
        EXPECT_EQ(putText(text, L"0815\n"), 5);
    });
    EXPECT_EQ(onDisk(), "0815\r\nrest");
}

TEST_F(TextStreams, FlushWritesTheTextToTheDisk) {
    withFile("", "w", [this](TextStream& text) {
        putText(text, L"one\n");
        EXPECT_EQ(onDisk(), "");
        EXPECT_TRUE(flushTextStream(text));
        EXPECT_EQ(onDisk(), "one\r\n");
    });
}

TEST_F(TextStreams, StreamOpenForReadingCannotBeWritten) {
    withFile("one", "r", [](TextStream& text) { EXPECT_EQ(putText(text, L"two"), -1); });
    EXPECT_EQ(onDisk(), "one");
}

TEST_F(TextStreams, FullDiskShowsAtTheFlush) {
    machine.writeFile(path, "");
    run([this] {
        machine.setFreeSpace(0);
        TextStream text = openFile(path, "w");
        EXPECT_EQ(putText(text, L"one"), 3);
        EXPECT_FALSE(flushTextStream(text));
        EXPECT_EQ(putText(text, std::wstring(10000, L'x')), -1);
        EXPECT_EQ(putText(text, L"one"), 3);
        EXPECT_FALSE(closeTextStream(text));
        EXPECT_EQ(text.stream, nullptr);
        machine.setFreeSpace(std::nullopt);
    });
}

// --- Streams that are not open ----------------------------------------------------------------------

TEST_F(TextStreams, FailedOpenGivesNoStream) {
    run([] {
        for (const char* mode : {"r", "r+"}) {
            TextStream text = openFile(L"C:\\data\\gone.txt", mode);
            EXPECT_EQ(text.stream, nullptr);
        }
        for (const char* mode : {"r", "w", "w+", "a+"}) {
            TextStream text = openFile(L"C:\\data", mode);
            EXPECT_EQ(text.stream, nullptr);
            text = openFile(L"C:\\gone\\text.txt", mode);
            EXPECT_EQ(text.stream, nullptr);
        }
    });
    EXPECT_FALSE(machine.exists(L"C:\\data\\gone.txt"));
}

TEST_F(TextStreams, EveryOperationFailsWithoutAStream) {
    const auto outcome = run([] {
        TextStream text;
        std::wstring line = L"before";
        std::int32_t value = 5;
        EXPECT_TRUE(atEnd(text));
        EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::endOfData);
        EXPECT_EQ(scanLine(text, LineBlanks::skipLeading, line), ScanResult::endOfData);
        EXPECT_EQ(line, L"");
        EXPECT_EQ(scanNumber(text, value), ScanResult::endOfData);
        EXPECT_EQ(value, 5);
        skipWhiteSpace(text);
        EXPECT_EQ(putText(text, L"one"), -1);
        EXPECT_FALSE(flushTextStream(text));
        rewindTextStream(text);
        EXPECT_TRUE(atEnd(text));
        EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::endOfData);
        EXPECT_FALSE(closeTextStream(text));
    });
    EXPECT_EQ(outcome.processEnd().status, 0U);
}

TEST_F(TextStreams, OpeningAgainStartsWithAFreshState) {
    machine.writeFile(path, "one\r\n");
    run([] {
        TextStream text;
        std::wstring line;
        text = openFile(path, "r");
        scanLine(text, LineBlanks::keepLeading, line);
        EXPECT_TRUE(atEnd(text));
        closeTextStream(text);
        text = openFile(path, "r");
        EXPECT_FALSE(atEnd(text));
        EXPECT_EQ(scanLine(text, LineBlanks::keepLeading, line), ScanResult::matched);
        EXPECT_EQ(line, L"one");
        closeTextStream(text);
    });
}

}  // namespace
