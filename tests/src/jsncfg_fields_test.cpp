/*
 * Every field of the file, taken from a complete file itself so that none can be forgotten.
 */
#include "jsncfg.h"

#include "src/config_file.h"

#include <QJsonDocument>
#include <limits>
#include <ostream>
#include <vector>

namespace {

class JsnCfgFields : public ConfigFile {
protected:
    /** A complete document with each field's value replaced by what `choose` gives for the present one. */
    template <typename Choose>
    QJsonObject with_every_field(Choose choose) const {
        Config complete(m_file);
        complete.write_cfg();
        QJsonObject top = complete.json_doc.object();
        for (const QString& key : top.keys()) {
            QJsonObject section = top.value(key).toObject();
            for (const QString& field : section.keys()) {
                section.insert(field, choose(section.value(field)));
            }
            top.insert(key, section);
        }
        return top;
    }

    /** What a configuration makes of a document: loaded, then every section written. */
    QJsonObject through_members(const QJsonObject& document) const {
        put(QJsonDocument(document).toJson());
        Config config(m_file);
        EXPECT_EQ(config.load_cfg(), 0);
        config.json_doc = QJsonDocument();
        config.write_cfg();
        return object();
    }

    void expect_unchanged(const QJsonValue& number, const QString& string) const {
        const QJsonObject document = with_every_field(
            [&](const QJsonValue& present) { return present.isString() ? QJsonValue(string) : number; });
        EXPECT_EQ(through_members(document), document) << qPrintable(string.left(20));
    }

    void expect_zero_or_empty(const QJsonValue& number, const QJsonValue& string) const {
        const QJsonObject document =
            with_every_field([&](const QJsonValue& present) { return present.isString() ? string : number; });
        const QJsonObject expected = with_every_field([](const QJsonValue& present) {
            return present.isString() ? QJsonValue(QString()) : QJsonValue(0);
        });
        EXPECT_EQ(through_members(document), expected);
    }
};

TEST_F(JsnCfgFields, NumbersSurviveAtTheirBoundaries) {
    for (const int number :
         {0, 1, -1, 65535, 65536, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        expect_unchanged(number, QStringLiteral("text"));
    }
}

TEST_F(JsnCfgFields, StringsSurviveAtTheirBoundaries) {
    for (const QString& string :
         {QString(), QStringLiteral(" "), QStringLiteral("\"\\/\b\f\n\r\t\x01\x7f"),
          QStringLiteral(u"\u00e4\u05d0\u4e2d \U0001F3AC"), QString(100'000, QLatin1Char('x')),
          QStringLiteral("{\"network\": {}}"), QString(QChar(0))}) {
        expect_unchanged(7, string);
    }
}

TEST_F(JsnCfgFields, EachFieldHasAMemberOfItsOwn) {
    int next = 100;
    const QJsonObject document = with_every_field([&](const QJsonValue& present) {
        ++next;
        return present.isString() ? QJsonValue(QString::number(next)) : QJsonValue(next);
    });
    EXPECT_EQ(through_members(document), document);
}

TEST_F(JsnCfgFields, AValueOfTheWrongTypeBecomesZeroOrEmpty) {
    for (const QJsonValue& wrong : {QJsonValue(QJsonValue::Null), QJsonValue(true), QJsonValue(QJsonObject()),
                                    QJsonValue(QJsonObject{{QStringLiteral("x"), 1}})}) {
        expect_zero_or_empty(wrong, wrong);
    }
    expect_zero_or_empty(QJsonValue(QStringLiteral("5000")), QJsonValue(5000));
}

TEST_F(JsnCfgFields, ANumberThatIsNoIntegerBecomesZero) {
    for (const double number : {12.5, -0.5, 2147483648.0, -2147483649.0, 1e300, -1e300, 5e-324}) {
        expect_zero_or_empty(number, true);
    }
}

struct SectionOfWrongType {
    const char* name;
    const char* text;
};

void PrintTo(const SectionOfWrongType& section, std::ostream* out) {
    *out << section.name;
}

class JsnCfgSections : public JsnCfgFields, public testing::WithParamInterface<SectionOfWrongType> {};

TEST_P(JsnCfgSections, ASectionThatIsNoObjectKeepsTheDefaults) {
    put(QByteArray("{\"network\": ") + GetParam().text + "}");
    Config config(m_file);
    EXPECT_EQ(config.load_cfg(), 0);
    EXPECT_EQ(config.p_networkCfg->port, 1234);
    EXPECT_EQ(config.p_networkCfg->ip, QStringLiteral("225.0.0.1"));
    config.p_networkCfg->write();
    EXPECT_EQ(object().value(QStringLiteral("network")).toObject().size(), 10);
}

INSTANTIATE_TEST_SUITE_P(
    Values, JsnCfgSections,
    testing::Values(SectionOfWrongType{"Null", "null"}, SectionOfWrongType{"Boolean", "true"},
                    SectionOfWrongType{"Number", "5"}, SectionOfWrongType{"String", "\"Port\""},
                    SectionOfWrongType{"Array", "[{\"Port\": 5}]"}, SectionOfWrongType{"EmptyObject", "{}"}),
    testing::PrintToStringParamName());

} // namespace
