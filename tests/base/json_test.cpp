#include "halyward/base/json.hpp"
#include "halyward/base/command_output.hpp"

#include <gtest/gtest.h>
#include <boost/json/parse.hpp>

#include <cmath>
#include <limits>
#include <random>

using namespace halyward;

TEST(json_writer, writes_compact_sorted_deterministic_text) {
    struct Case {
        JSONValue value;
        std::string text;
    };
    const Case cases[] = {
        {JSONValue(), "null"},
        {JSONValue(true), "true"},
        {JSONValue(std::int64_t{-42}), "-42"},
        {JSONValue(2.0), "2"},
        {JSONValue(2.5), "2.5"},
        {JSONValue(-0.1), "-0.1"},
        {JSONValue(1e300), "1e+300"},
        {JSONValue(9223372036854775808.0), "9223372036854775808"},  // 2^63: shortest form
        {JSONValue(std::nan("")), "nan"},
        {JSONValue(-std::numeric_limits<double>::infinity()), "-inf"},
        {JSONValue(JSONArray{}), "[]"},
        {JSONValue(JSONObject{}), "{}"},
        {JSONValue(JSONObject{{"b", 1}, {"a", JSONArray{true, nullptr}}, {"é", "x"}, {"Z", 2}}),
         R"({"Z":2,"a":[true,null],"b":1,"é":"x"})"},
    };
    for (const auto& c : cases) EXPECT_EQ(c.value.canonicalString(), c.text);
}

TEST(json_writer, quote_escapes_only_what_json_requires) {
    EXPECT_EQ(quoteJSON("\t\n\x01\xC3\xA9/\x7F\"\\\r"),
              "\"\\t\\n\\u0001\xC3\xA9/\x7F\\\"\\\\\\r\"");
    EXPECT_EQ(quoteJSON(std::string("a\0b", 3)), "\"a\\u0000b\"");
    EXPECT_EQ(quoteJSON("\xFF"), "\"\xEF\xBF\xBD\"");
}

TEST(json_value, accessors_fit_only_their_case) {
    EXPECT_EQ(JSONValue(4.0).intValue(), 4);
    EXPECT_EQ(JSONValue(4.5).intValue(), std::nullopt);
    EXPECT_EQ(JSONValue("4").intValue(), std::nullopt);
    EXPECT_EQ(JSONValue(1e19).intValue(), std::nullopt);
    EXPECT_EQ(JSONValue(std::nan("")).intValue(), std::nullopt);
    EXPECT_NE(JSONValue(std::int64_t{1}), JSONValue(1.0));
    EXPECT_EQ(JSONValue("s").stringValue(), "s");
    EXPECT_EQ(JSONValue(1).boolValue(), std::nullopt);
    EXPECT_FALSE(JSONValue(JSONArray{}).objectValue());
}

TEST(command_output, renders_message_or_the_four_member_object) {
    CommandOutput ok{0, "Done \"now\"", JSONValue()};
    EXPECT_EQ(ok.rendered(false), "Done \"now\"");
    EXPECT_EQ(ok.rendered(true),
              R"({"exitCode":0,"message":"Done \"now\"","ok":true,"result":null})");
    CommandOutput failure = CommandOutput::fromError(HalywardError::notFound("No app “x”."));
    EXPECT_FALSE(failure.ok());
    EXPECT_EQ(failure.rendered(true),
              R"({"exitCode":5,"message":"No app “x”.","ok":false,"result":{"code":"not_found"}})");
}

// Cross-check with a real JSON reader: whatever we write, Boost.JSON reads back the same.
namespace {

std::string randomString(std::mt19937& rng) {
    static const std::string pieces[] = {"\"",
                                         "\\",
                                         "/",
                                         "\n",
                                         "\r",
                                         "\t",
                                         "\b",
                                         "\f",
                                         "a",
                                         " ",
                                         "\xC3\xA9",
                                         "\xE2\x82\xAC",
                                         "\xF0\x9F\x98\x80",
                                         "\x7F",
                                         "\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x92\xBB"};
    std::string out;
    int n = std::uniform_int_distribution<int>(0, 12)(rng);
    for (int i = 0; i < n; ++i) {
        if (rng() % 4 == 0) {
            out.push_back(static_cast<char>(rng() % 32));  // any control character
        } else {
            out += pieces[rng() % std::size(pieces)];
        }
    }
    return out;
}

JSONValue randomValue(std::mt19937& rng, int depth) {
    switch (rng() % (depth > 3 ? 5 : 7)) {
        case 0: return JSONValue(rng() % 2 == 0);
        case 1: return JSONValue(static_cast<std::int64_t>(rng()) * (rng() % 2 ? 1 : -1) * 1000003);
        case 2: {
            std::uniform_real_distribution<double> d(-1e6, 1e6);
            double v = d(rng);
            return JSONValue(rng() % 3 == 0 ? std::ldexp(v, static_cast<int>(rng() % 600) - 300)
                                            : v);
        }
        case 3: return JSONValue(randomString(rng));
        case 4: return JSONValue();
        case 5: {
            JSONArray a;
            for (unsigned i = rng() % 4; i > 0; --i) a.push_back(randomValue(rng, depth + 1));
            return JSONValue(std::move(a));
        }
        default: {
            JSONObject o;
            for (unsigned i = rng() % 4; i > 0; --i)
                o[randomString(rng)] = randomValue(rng, depth + 1);
            return JSONValue(std::move(o));
        }
    }
}

// Numbers compare by value: the writer prints whole doubles as integers.
bool sameValue(const JSONValue& written, const JSONValue& read) {
    if (auto d = written.doubleValue()) {
        if (auto i = read.intValue(); i && read.kind() == JSONValue::Kind::integer)
            return *d == static_cast<double>(*i);
        if (auto r = read.doubleValue()) return *d == *r;
        return false;
    }
    if (auto a = written.arrayValue()) {
        auto b = read.arrayValue();
        if (!b || a->size() != b->size()) return false;
        for (std::size_t i = 0; i < a->size(); ++i)
            if (!sameValue((*a)[i], (*b)[i])) return false;
        return true;
    }
    if (auto a = written.objectValue()) {
        auto b = read.objectValue();
        if (!b || a->size() != b->size()) return false;
        for (const auto& [k, v] : *a) {
            auto it = b->find(k);
            if (it == b->end() || !sameValue(v, it->second)) return false;
        }
        return true;
    }
    return written == read;
}

}  // namespace

TEST(json_cross_check, boost_json_reads_back_every_string_and_value) {
    std::mt19937 rng(20261122);
    for (int i = 0; i < 3000; ++i) {
        std::string s = randomString(rng);
        boost::json::value v = boost::json::parse(quoteJSON(s));
        ASSERT_EQ(std::string(v.as_string().c_str(), v.as_string().size()), s);
    }
    // Doubles at the edges of the format, where a reader's fast path is most likely to be
    // one unit in the last place off.
    for (double d : {5e-324, 2.2250738585072014e-308, 1.7976931348623157e308, 0.1, 1.0 / 3, -2.5e-8,
                     9007199254740993.0, 1e22, 1.2345678901234568e20, 9.223372036854775e18, -0.0}) {
        const std::string text = JSONValue(d).canonicalString();
        ASSERT_TRUE(sameValue(JSONValue(d), JSONValue::parse(text))) << text;
        ASSERT_EQ(boost::json::parse(text).to_number<double>(), d) << text;
    }
    for (int i = 0; i < 2000; ++i) {
        JSONValue value = randomValue(rng, 0);
        std::string text = value.canonicalString();
        JSONValue back = JSONValue::parse(text);
        ASSERT_TRUE(sameValue(value, back)) << text;
        EXPECT_EQ(back.canonicalString(), text);
    }
}
