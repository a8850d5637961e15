#include <brn_waypoints/Outputs.h>

#include <sstream>

#include <QRegularExpression>
#include <QXmlStreamReader>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/brn_waypoints/ReportsFixture.h"

using namespace Brennic::Testing;
using namespace Brennic::Waypoints;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

std::string pageOf(const std::vector<Report>& reports)
{
    std::ostringstream out;
    writeHtmlPage(reports, out);
    return out.str();
}

// The texts of all elements of the name; the page must be well-formed.
std::vector<std::string> textsOf(const std::string& page, const char* element)
{
    std::vector<std::string> texts;
    QXmlStreamReader reader(QString::fromStdString(page));
    while (!reader.atEnd())
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == QLatin1String(element))
            texts.push_back(reader.readElementText(QXmlStreamReader::IncludeChildElements).toStdString());
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
    return texts;
}

// "class|width" of the chart's bars.
std::vector<std::string> barsOf(const std::string& page)
{
    std::vector<std::string> bars;
    QXmlStreamReader reader(QString::fromStdString(page));
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement || reader.name() != QLatin1String("rect"))
            continue;
        const QXmlStreamAttributes attributes = reader.attributes();
        if (attributes.hasAttribute(QLatin1String("x"))) // those of the legend have none
            bars.push_back((attributes.value(QLatin1String("class")).toString() + QLatin1Char('|') +
                            attributes.value(QLatin1String("width")).toString())
                               .toStdString());
    }
    return bars;
}

using Texts = std::vector<std::string>;

} // namespace

TEST(HtmlPage, theTableHasTheNumbers)
{
    const std::string page = pageOf({parsed(exampleReport())});
    EXPECT_EQ(textsOf(page, "th"), (Texts{"name", "count", "seconds", "share", "frames", "memory (MiB)"}));
    const Texts cells = textsOf(page, "td");
    ASSERT_EQ(cells.size(), 24U);
    EXPECT_EQ(Texts(cells.begin() + 6, cells.begin() + 12),
              (Texts{"Smooth", "2", "2.500", "62.5 %", "30", "+0.5"}));
}

TEST(HtmlPage, barsAreAsLongAsTheirTimes)
{
    EXPECT_EQ(barsOf(pageOf({parsed(exampleReport())})),
              (Texts{"series0|48.00%", "series0|80.00%", "series0|0.20%"}));
}

TEST(HtmlPage, theChartTakesTheWidthOfThePageAndItsTextsKeepTheirSize)
{
    const std::string page = pageOf({parsed(exampleReport())});
    QXmlStreamReader reader(QString::fromStdString(page));
    int places = 0;
    bool isInChart = false;
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QXmlStreamAttributes attributes = reader.attributes();
        if (reader.name() == QLatin1String("svg") &&
            attributes.value(QLatin1String("class")) == QLatin1String("chart")) {
            isInChart = true;
            EXPECT_FALSE(attributes.hasAttribute(QLatin1String("viewBox"))); // it would scale the texts
        }
        for (const char* const place : {"x", "x1", "x2", "width"})
            if (isInChart && attributes.hasAttribute(QLatin1String(place))) {
                EXPECT_TRUE(attributes.value(QLatin1String(place)).endsWith(QLatin1Char('%')));
                ++places;
            }
        isInChart = isInChart && reader.name() != QLatin1String("h2");
    }
    EXPECT_GT(places, 10);
}

TEST(HtmlPage, nothingHasToBeScrolledSideways)
{
    const std::string page = pageOf({parsed(exampleReport())});
    EXPECT_THAT(page, HasSubstr("@media (max-width: 600px)"));
    EXPECT_THAT(page, Not(HasSubstr("min-width")));
    EXPECT_THAT(page, Not(HasSubstr("overflow-x")));
}

TEST(HtmlPage, reportsStandSideBySide)
{
    const Report second =
        parsed(reportOf(waypointLine("New", "0", "5", "0") + waypointLine("Load", "0", "2.5", "0")),
               QStringLiteral("second.xml"));
    const std::string page = pageOf({parsed(exampleReport()), second});
    EXPECT_EQ(textsOf(page, "h2"), (Texts{"run.xml", "second.xml"}));
    EXPECT_EQ(textsOf(page, "li").size(), 2U);
    EXPECT_EQ(barsOf(page), (Texts{"series0|24.00%", "series1|40.00%", // Load
                                   "series0|40.00%",                   // Smooth
                                   "series0|0.20%",                    // END
                                   "series1|80.00%"}));                // New
}

TEST(HtmlPage, nothingIsFetched)
{
    std::string page = pageOf({parsed(exampleReport())});
    const std::string space = "xmlns=\"http://www.w3.org/2000/svg\"";
    for (std::size_t place = 0; (place = page.find(space)) != std::string::npos;)
        page.erase(place, space.size());
    for (const char* const reference : {"http", "//", "src=", "href=", "url(", "@import", "<script", "<link"})
        EXPECT_THAT(page, Not(HasSubstr(reference)));
}

TEST(HtmlPage, lightAndDarkHaveTheirColours)
{
    EXPECT_THAT(pageOf({}), HasSubstr("@media (prefers-color-scheme: dark)"));
}

TEST(HtmlPage, namesAreEscaped)
{
    const std::string name = "&lt;script&gt;alert(&quot;1&quot;)&lt;/script&gt; &amp;";
    const std::string page =
        pageOf({parsed(reportOf(waypointLine(name, "0", "1", "0")), QStringLiteral("<b>\"'&.xml"))});
    EXPECT_THAT(page, Not(HasSubstr("<script")));
    EXPECT_THAT(page, Not(HasSubstr("<b>")));
    EXPECT_THAT(textsOf(page, "td"), Contains("<script>alert(\"1\")</script> &"));
    EXPECT_THAT(textsOf(page, "h2"), Contains("<b>\"'&.xml"));
}

TEST(HtmlPage, thePageKeepsEmptyElementsThatHtmlCannotShorten)
{
    const std::string page = pageOf({parsed(reportOf(waypointLine("", "0", "1", "0")), QString())});
    for (const char* const shortened : {"<td/>", "<h2/>", "<li/>", "<text/>", "<div/>"})
        EXPECT_THAT(page, Not(HasSubstr(shortened)));
}

TEST(HtmlPage, ofManyNamesTheSmallestShareAGroup)
{
    std::string lines;
    for (int i = 1; i <= 100; ++i)
        lines += waypointLine("n" + std::to_string(i), "0", std::to_string(i), "0");
    const std::string page = pageOf({parsed(reportOf(lines))});
    EXPECT_EQ(barsOf(page).size(), 41U);
    const Texts titles = textsOf(page, "title");
    EXPECT_EQ(titles.at(1), "n61: 61.000 s");
    EXPECT_EQ(titles.back(), "60 others: 1830.000 s");
}

TEST(HtmlPage, anEmptyReportIsAPage)
{
    EXPECT_EQ(textsOf(pageOf({parsed("<Profiler/>")}), "td").size(), 6U);
}
