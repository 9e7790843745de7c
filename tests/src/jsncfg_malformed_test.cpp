/*
 * Files that are not what a player wrote.
 */
#include "jsncfg.h"

#include "src/config_file.h"

#include <QFile>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace {

/** A file's content and the port and volume that it stands for. */
struct Content {
    const char* name;
    QByteArray text;
    int port = 1234;
    int volume = 30;
};

void PrintTo(const Content& content, std::ostream* out) {
    *out << content.name;
}

QByteArray nested(int depth) {
    return R"({"network": {"Port": 5}, "deep": )" + QByteArray(depth, '[') + QByteArray(depth, ']') + "}";
}

int load(Config& config) {
#ifdef __SANITIZE_ADDRESS__
    // Qt's parser loses the first object of a key that is there twice. It is built without frame pointers, so
    // that no suppression by its function's name would match.
    const __lsan::ScopedDisabler parser_leaks;
#endif
    return config.load_cfg();
}

class JsnCfgContent : public ConfigFile, public testing::WithParamInterface<Content> {};

TEST_P(JsnCfgContent, LoadsAndIsReplacedByAnObject) {
    put(GetParam().text);
    Config config(m_file);
    EXPECT_EQ(load(config), 0);
    EXPECT_EQ(config.p_networkCfg->port, GetParam().port);
    EXPECT_EQ(config.p_volume->volume_val, GetParam().volume);
    EXPECT_EQ(text(), GetParam().text) << "loading writes nothing";
    config.p_volume->write();
    EXPECT_EQ(object().value(QStringLiteral("volume")).toObject().size(), 2);
}

INSTANTIATE_TEST_SUITE_P(
    NoJson, JsnCfgContent,
    testing::Values(Content{"Empty", ""}, Content{"OneByte", "{"},
                    Content{"AllOnes", QByteArray(1 << 20, '\xff')},
                    Content{"Zeros", QByteArray(1 << 20, '\0')}, Content{"Text", "volume=5"},
                    Content{"Array", R"([{"volume": {"Volume_val": 5}}])"}, Content{"Number", "5"},
                    Content{"Truncated", R"({"network": {"Port": 5000}, "volume": {"Volume_)"},
                    Content{"NotANumber", R"({"network": {"Port": NaN}})"},
                    Content{"Infinity", R"({"network": {"Port": Infinity}})"},
                    Content{"TrailingComma", R"({"network": {"Port": 5,}})"},
                    Content{"InvalidUtf8", "{\"network\": {\"Port\": 5, \"IP\": \"\xff\xfe\xc3\"}}"},
                    Content{"NestedDeeply", nested(100'000)}),
    [](const auto& content) { return std::string(content.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Json, JsnCfgContent,
    testing::Values(Content{"ByteOrderMark", "\xef\xbb\xbf{\"network\": {\"Port\": 5}}", 5},
                    Content{"CarriageReturns", "{\r\n\"network\":\r\n{\r\n\"Port\": 5\r\n}\r\n}\r\n", 5},
                    Content{"DuplicateKeys", R"({"network": {"Port": 5, "Port": 6}})", 6},
                    Content{"DuplicateSections", R"({"volume": {"Volume_val": 5}, "volume": {}})"},
                    Content{"Exponent", R"({"network": {"Port": 5e3}})", 5000},
                    Content{"NegativeZero", R"({"network": {"Port": -0.0}})", 0},
                    Content{"Huge", R"({"network": {"Port": 1e308}})", 0},
                    Content{"ManyDigits", R"({"network": {"Port": 99999999999999999999999}})", 0},
                    Content{"NestedModerately", nested(500), 5}),
    [](const auto& content) { return std::string(content.param.name); });

TEST_F(ConfigFile, OfTwoHundredMegabytesLoads) {
    {
        QFile file(m_file);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(R"({"volume": {"Volume_val": 5}, "pad": ")");
        const QByteArray megabyte(1'000'000, 'x');
        for (int i = 0; i < 200; ++i) {
            ASSERT_EQ(file.write(megabyte), megabyte.size());
        }
        file.write("\"}");
    }
    Config config(m_file);
    EXPECT_EQ(config.load_cfg(), 0);
    EXPECT_EQ(config.p_volume->volume_val, 5);
}

} // namespace
