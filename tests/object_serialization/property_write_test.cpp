#include "document_fixture.h"

#include <limits>

namespace Kiln::SerializationTests {
namespace {

class WritingValues : public PropertiesFixture<ValuesComponent> {};

// Long because it has the whole text of a configuration.
TEST_F(WritingValues, everyProperty_inTheOrderOfTheDescription) {
    config.text = " <a> & \"b\" ";
    config.link.setUuid({0, 5});
    config.texts = {"x", ""};
    config.rows = {{1, 2}, {}};
    config.points = {{2.5F, "p"}};
    config.route.stops.emplace_back();
    EXPECT_EQ(write(), R"(<properties>
	<flag>true</flag>
	<int8>8</int8>
	<int16>16</int16>
	<int32>32</int32>
	<int64>64</int64>
	<uint8>108</uint8>
	<uint16>116</uint16>
	<uint32>132</uint32>
	<uint64>164</uint64>
	<single>0.5</single>
	<real>0.25</real>
	<text> &lt;a&gt; &amp; "b" </text>
	<uuid>00000000-0000-0001-0000-000000000002</uuid>
	<matrix>1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1</matrix>
	<link>00000000-0000-0000-0000-000000000005</link>
	<numbers>
		<value>7</value>
	</numbers>
	<texts>
		<value>x</value>
		<value></value>
	</texts>
	<rows>
		<value>
			<value>1</value>
			<value>2</value>
		</value>
		<value></value>
	</rows>
	<point>
		<x>1</x>
		<label></label>
	</point>
	<points>
		<value>
			<x>2.5</x>
			<label>p</label>
		</value>
	</points>
	<route>
		<start>
			<x>1</x>
			<label></label>
		</start>
		<stops>
			<value>
				<x>1</x>
				<label></label>
			</value>
		</stops>
	</route>
</properties>
)");
}

TEST_F(WritingValues, objectWithoutDescription_writesNothing) {
    const SmartPointer<DataSection> document = DataSection::create("properties");
    writeProperties(document->node(), mirra::ReflectedObject());
    EXPECT_EQ(document->childrenCount(), 0U);
}

/// Configurations with values that are difficult to preserve.
class RoundTrip : public PropertiesFixture<ValuesComponent> {
protected:
    /// Writes the configuration, reads the text into a fresh one and compares.
    void expectSameAfterReading() {
        const SmartPointer<DataSection> document = parse(write());
        Config copy;
        readProperties(*document, document->node(), view(copy), "Name");
        EXPECT_TRUE(mirra::arePropertiesEqual(meta(), &config, &copy));
        EXPECT_EQ(copy.text, config.text);
        EXPECT_EQ(copy.texts, config.texts);
        EXPECT_THAT(log.messages(), testing::IsEmpty());
    }
};

TEST_F(RoundTrip, defaults) {
    expectSameAfterReading();
}

TEST_F(RoundTrip, lowestNumbers) {
    config.flag = false;
    config.int8 = std::numeric_limits<std::int8_t>::min();
    config.int64 = std::numeric_limits<std::int64_t>::min();
    config.uint64 = 0;
    config.single = std::numeric_limits<float>::denorm_min();
    config.real = std::numeric_limits<double>::lowest();
    expectSameAfterReading();
}

TEST_F(RoundTrip, highestNumbers) {
    config.int8 = std::numeric_limits<std::int8_t>::max();
    config.int64 = std::numeric_limits<std::int64_t>::max();
    config.uint64 = std::numeric_limits<std::uint64_t>::max();
    config.single = std::numeric_limits<float>::max();
    config.real = std::numeric_limits<double>::max();
    expectSameAfterReading();
}

TEST_F(RoundTrip, specialFloats) {
    config.single = -0.0F;
    config.real = std::numeric_limits<double>::quiet_NaN();
    config.matrix.values[0] = std::numeric_limits<float>::infinity();
    config.matrix.values[1] = -std::numeric_limits<float>::infinity();
    config.matrix.values[2] = std::numeric_limits<float>::quiet_NaN();
    config.matrix.values[3] = 0.1F;
    expectSameAfterReading();
}

TEST_F(RoundTrip, stringsByteForByte) {
    config.text = "\r\n line\rend \t ]]> <![CDATA[ &amp; <!-- --> '\"";
    config.texts = {"", " ", "\n", "\xE2\x98\x83", "a\r", "\ttab", "&#10;"};
    config.point.label = "  ";
    expectSameAfterReading();
}

} // namespace
} // namespace Kiln::SerializationTests
