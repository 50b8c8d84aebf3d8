// Token streams of GDF texts: token forms and their precedence, values, line and position accounting.
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "gdf/gdf_scan.h"
#include "gdf/gdf_tokens.h"

namespace {

// One token as text: "ID:abc", "INT32:5", "DBL:1.5", "EOL", "'.'" or "#200" for other bytes.
void Describe(std::ostringstream& out, const gdf_Token& token) {
  const std::string name = gdf_token_name(token.code);
  if (name.compare(0, 4, "GDF_") == 0)
    out << name.substr(4);
  else if (token.code > ' ' && token.code < 127)
    out << '\'' << char(token.code) << '\'';
  else
    out << '#' << token.code;
  if (gdf_token_has_text(token.code)) out << ':' << token.text;
  if (token.code == GDF_INT32 || token.code == GDF_INT64) out << ':' << token.ival;
  if (token.code == GDF_DBL) out << ':' << token.dval;
}

std::string Join(const std::vector<gdf_Token>& tokens, bool with_positions) {
  std::ostringstream out;
  for (const gdf_Token& token : tokens) {
    if (&token != &tokens.front()) out << ' ';
    Describe(out, token);
    if (with_positions) out << '@' << token.lineno << ':' << token.token_offset;
  }
  return out.str();
}

// The tokens of text, without positions.
std::string Kinds(std::string_view text) { return Join(gdf_scan_tokens(text), false); }
// The tokens of text with lineno:token_offset right after each.
std::string Positions(std::string_view text) { return Join(gdf_scan_tokens(text), true); }

} // namespace

TEST(LexerTest, KeywordsOnlyInLowerCaseAndOnlyAsWholeWords) {
  EXPECT_EQ(Kinds("section container elem ckt root inst conn prop assetclass assetclassapply"),
            "SECTION CONTAINER ELEM CKT ROOT INST CONN PROP ASSETCLASS ASSETCLASSAPPLY EOL");
  EXPECT_EQ(Kinds("propset propadd propsetadd hpropadd hpropsetadd defpropadd tsprop tsschema"),
            "PROPSET PROPADD PROPSETADD HPROPADD HPROPSETADD DEFPROPADD TSPROP TSSCHEMA EOL");
  EXPECT_EQ(Kinds("tspropdata htsassoc tsexpr condstate hcondstate hflowrole supportadd"),
            "TSPROPDATA HTSASSOC TSEXPR CONDSTATE HCONDSTATE HFLOWROLE SUPPORT EOL");
  EXPECT_EQ(Kinds("int32 int64 int32set int64set float64 float64set string --"),
            "INT32_T INT64_T INT32SET_T INT64SET_T FLOAT64_T FLOAT64SET_T STRING_T NULL EOL");
  EXPECT_EQ(Kinds("elemx props string2 Elem tsassoc support"),
            "ID:elemx ID:props ID:string2 ID:Elem ID:tsassoc ID:support EOL");
}

TEST(LexerTest, IdentifiersAndAuxIdentifiers) {
  EXPECT_EQ(Kinds("Line_AUX Line_AUX2 Line_aux a_b9 X_AUX_AUX"),
            "AUX_ID:Line_AUX ID:Line_AUX2 ID:Line_aux ID:a_b9 AUX_ID:X_AUX_AUX EOL");
  EXPECT_EQ(Kinds("_AUX _x 9a"), "'_' ID:AUX '_' ID:x INT32:9 ID:a EOL");
}

TEST(LexerTest, IntegersSplitAtThe32BitBorders) {
  EXPECT_EQ(Kinds("0 -0 01 0x1F 42"), "INT32:0 INT32:0 INT32:0 INT32:1 INT32:0 ID:x1F INT32:42 EOL");
  EXPECT_EQ(Kinds("2147483647 -2147483648 2147483648 -2147483649"),
            "INT32:2147483647 INT32:-2147483648 INT64:2147483648 INT64:-2147483649 EOL");
  EXPECT_EQ(Kinds("9223372036854775807 -9223372036854775808 123456789012345678"),
            "INT64:9223372036854775807 INT64:-9223372036854775808 INT64:123456789012345678 EOL");
  // Beyond 64 bits the C library's conversion saturates.
  EXPECT_EQ(Kinds("99999999999999999999 -99999999999999999999"),
            "INT64:9223372036854775807 INT64:-9223372036854775808 EOL");
}

TEST(LexerTest, RealsNeedDigitsOnBothSidesOfTheDotOrAnUnsignedExponent) {
  EXPECT_EQ(Kinds("1e5 -1.5e3 2.25 0.5E+2 7e-1 1.0e0"), "DBL:100000 DBL:-1500 DBL:2.25 DBL:50 DBL:0.7 DBL:1 EOL");
  EXPECT_EQ(Kinds("-1e5 3. .5 1.5e 1e+ 01.5"),
            "INT32:-1 ID:e5 INT32:3 '.' '.' INT32:5 DBL:1.5 ID:e INT32:1 ID:e '+' INT32:0 DBL:1.5 EOL");
}

TEST(LexerTest, ANumberCutShortEndsBeforeTheDotOrExponentAndPositionsStayTrue) {
  EXPECT_EQ(Positions("3. -4.x 1e+y 2.5E- 7ez"),
            "INT32:3@1:1 '.'@1:2 INT32:-4@1:5 '.'@1:6 ID:x@1:7 INT32:1@1:9 ID:e@1:10 '+'@1:11 ID:y@1:12 "
            "DBL:2.5@1:16 ID:E@1:17 '-'@1:18 INT32:7@1:20 ID:ez@1:22 EOL@2:0");
  // A string whose last character is a lone backslash is no string either.
  EXPECT_EQ(Positions(R"('ab\ "c\)" "\nz"),
            R"('''@1:1 ID:ab@1:3 '\'@1:4 '"'@1:6 ID:c@1:7 '\'@1:8 EOL@2:0 ID:z@2:1 EOL@3:0)");
}

TEST(LexerTest, NullAndDashes) { EXPECT_EQ(Kinds("-- --- - -x"), "NULL NULL '-' '-' '-' ID:x EOL"); }

TEST(LexerTest, DoubleQuotedStringsKeepBackslashPairsAndLineFeeds) {
  EXPECT_EQ(Kinds(R"("a b" "" "x\"y" "\\" "it's")"), R"(STRING:a b STRING: STRING:x\"y STRING:\\ STRING:it's EOL)");
  // A line feed inside a string is part of the value and not a line end.
  EXPECT_EQ(Positions("\"a\nb\" x\ny"), "STRING:a\nb@1:5 ID:x@1:7 EOL@2:0 ID:y@2:1 EOL@3:0");
  // A backslash cannot escape a line feed, so the quote stands alone.
  EXPECT_EQ(Kinds("\"a\\\nb\""), "'\"' ID:a '\\' EOL ID:b '\"' EOL");
}

TEST(LexerTest, SingleQuotedStringsRefuseBlanksTabsAndDoubleQuotes) {
  EXPECT_EQ(Kinds(R"('a+b*2' 'it\'s' '\"' '')"), R"(SQSTRING:a+b*2 SQSTRING:it\'s SQSTRING:\" SQSTRING: EOL)");
  EXPECT_EQ(Kinds("'a\nb'"), "SQSTRING:a\nb EOL");
  EXPECT_EQ(Kinds("'a b'"), "''' ID:a ID:b ''' EOL");
  EXPECT_EQ(Kinds("'a\tb'"), "''' ID:a ID:b ''' EOL");
  EXPECT_EQ(Kinds("'a\"b'"), "''' ID:a '\"' ID:b ''' EOL");
}

TEST(LexerTest, UnclosedQuotesAreCharactersAndScanningResumesBehindThem) {
  EXPECT_EQ(Kinds("ckt \"abc"), "CKT '\"' ID:abc EOL");
  EXPECT_EQ(Kinds(R"("\"\"x)"), R"('"' '\' '"' '\' '"' ID:x EOL)");
  EXPECT_EQ(Kinds(R"('\'\'x)"), R"(''' '\' ''' '\' ''' ID:x EOL)");
  // Strings of the other kind inside the stretch of an unclosed one still count.
  EXPECT_EQ(Kinds("\"'ab' \\\n"), "'\"' SQSTRING:ab '\\' EOL");
  EXPECT_EQ(Kinds("'\\\"x\" 'y'"), "''' '\\' STRING:x SQSTRING:y EOL");
  // Right behind the stretch a quote opens a string again.
  EXPECT_EQ(Kinds("\"\\\n\"x\""), "'\"' '\\' EOL STRING:x EOL");
}

TEST(LexerTest, OtherCharactersComeOutAsTheirCodes) {
  EXPECT_EQ(Kinds(".{}[],;=#+"), "'.' '{' '}' '[' ']' ',' ';' '=' '#' '+' EOL");
  EXPECT_EQ(Kinds("a\x80\xff\x01z"), "ID:a #128 #255 #1 ID:z EOL");
}

TEST(LexerTest, PositionsCountBlanksAndTabsButNotComments) {
  EXPECT_EQ(Positions("ckt  A\tT1 % a comment\n"), "CKT@1:3 ID:A@1:6 ID:T1@1:9 EOL@2:0");
  EXPECT_EQ(Positions("a\n  \tb"), "ID:a@1:1 EOL@2:3 ID:b@2:4 EOL@3:0");
}

TEST(LexerTest, RunsOfEmptyBlankAndCommentLinesGiveOneLineEnd) {
  EXPECT_EQ(Positions("\n% head\n\n  \nckt A\n\n% x\n  \t\nelem\n\n"), "CKT@5:3 ID:A@5:5 EOL@6:0 ELEM@9:4 EOL@10:0");
  EXPECT_EQ(Positions(""), "");
  EXPECT_EQ(Positions("% only a comment\n\n   \n% and another"), "");
}

TEST(LexerTest, LastLineWithoutLineEndIsClosedByOne) {
  EXPECT_EQ(Positions("ckt A"), "CKT@1:3 ID:A@1:5 EOL@2:0");
  EXPECT_EQ(Positions("ckt A   "), "CKT@1:3 ID:A@1:5 EOL@2:0");
  EXPECT_EQ(Positions("ckt A % comment"), "CKT@1:3 ID:A@1:5 EOL@2:0");
}

TEST(LexerTest, CarriageReturnsAreLineEnds) {
  EXPECT_EQ(Positions("ckt A\r\nelem\r\n"), "CKT@1:3 ID:A@1:5 EOL@2:0 ELEM@3:4 EOL@4:0");
  EXPECT_EQ(Positions("a\rb"), "ID:a@1:1 EOL@2:0 ID:b@2:1 EOL@3:0");
  // The carriage return behind a comment belongs to the comment.
  EXPECT_EQ(Positions("% note\r\nckt\r\n"), "CKT@2:3 EOL@3:0");
}

TEST(LexerTest, NulBytes) {
  // Between tokens a NUL ends the input for the parser ...
  EXPECT_EQ(Kinds(std::string_view("ckt\0elem", 8)), "CKT");
  EXPECT_EQ(Join(gdf_scan_tokens(std::string_view("ckt\0elem", 8), gdf_NulHandling::kIsToken), false),
            "CKT #0 ELEM EOL");
  // ... inside a comment or a string it is part of it (and ends the C string of the value).
  EXPECT_EQ(Kinds(std::string_view("% a\0b\nckt \"x\0y\" z", 17)), "CKT STRING:x ID:z EOL");
  EXPECT_EQ(Kinds(std::string_view("'x\0y'", 5)), "SQSTRING:x EOL");
  // Behind a quote that never closes, scanning resumes and NULs keep their places.
  EXPECT_EQ(Join(gdf_scan_tokens(std::string_view("\"ab\\\n\0x\"\0", 9), gdf_NulHandling::kIsToken), false),
            "'\"' ID:ab '\\' EOL #0 ID:x '\"' #0 EOL");
}

// What a name hint is shown while text is scanned, as "def.name" items.
std::string Hints(std::string_view text) {
  std::string seen;
  gdf_scan_set_name_hint(
      [](void* context, const char* def, const char* name) {
        *static_cast<std::string*>(context) += std::string(def) + "." + name + " ";
      },
      &seen);
  gdf_scan_tokens(text);
  gdf_scan_set_name_hint(nullptr, nullptr);
  return seen;
}

TEST(LexerTest, NameHintsShowTheNamesOfInstAndConnStatements) {
  EXPECT_EQ(Hints("inst C.a Load\n"
                  "conn C.n a.0 t b.x\n"
                  "propadd C.a P 1\n"
                  "inst C . b Line\n"
                  "conn C.m\n"
                  "conn C.k a.\n"
                  "inst C.c\n"
                  "inst C\n"
                  "conn 5.n a.0\n"
                  "ckt C.d\n"),
            "C.a C.n C.a C.t C.b C.b C.m C.k C.a C.c ");
  // Far into a text of many blocks: every statement in order, save those that a block's
  // end cuts before their names.
  std::string text;
  std::vector<std::string> expected;
  for (int i = 0; i < 6000; ++i) {
    const std::string n = std::to_string(i);
    text += "inst D.i" + n + " L\nconn D.n" + n + " x.0 y\n";
    for (const std::string& item : {"D.i" + n, "D.n" + n, std::string("D.x"), std::string("D.y")}) expected.push_back(item);
  }
  std::istringstream seen(Hints(text));
  size_t matched = 0, at = 0;
  for (std::string item; seen >> item; ++matched) {
    while (at < expected.size() && expected[at] != item) ++at;
    ASSERT_LT(at++, expected.size()) << "out of order or unknown: " << item;
  }
  EXPECT_GT(matched, expected.size() * 99 / 100);
  EXPECT_EQ(Hints("inst C.a Load\n"), "C.a ");
  gdf_scan_tokens("inst C.a Load\n");  // no hint set: nothing to call
}

TEST(LexerTest, StreamAndTextGiveTheSameTokens) {
  // Tokens much longer than the 16384-byte input buffer, NUL runs across
  // buffer refills, and ordinary statements around them.
  std::string text = "ckt " + std::string(100000, 'x') + " \"" + std::string(40000, '\0') + "\" 'q\n";
  for (int i = 0; i < 3000; ++i)
    text += "inst F.L_" + std::to_string(i) + " Line\npropadd F.L_" + std::to_string(i) + " LENGTH 0.25\n";
  FILE* stream = fmemopen(text.data(), text.size(), "rb");
  ASSERT_NE(stream, nullptr);
  const std::vector<gdf_Token> from_stream = gdf_scan_tokens(stream, gdf_NulHandling::kIsToken);
  fclose(stream);
  const std::vector<gdf_Token> from_text = gdf_scan_tokens(text, gdf_NulHandling::kIsToken);
  EXPECT_EQ(Join(from_stream, true), Join(from_text, true));
  ASSERT_EQ(from_text.size(), 6u + 3000 * 13);
  EXPECT_EQ(from_text[1].text, std::string(100000, 'x'));
  EXPECT_EQ(from_text[1].token_offset, 100004);
}
