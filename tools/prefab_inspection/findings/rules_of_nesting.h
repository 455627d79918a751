#pragma once

#include <prefab_inspection/findings/finding_rules.h>

#include <array>

/// The rules of the groups KP06 and KP07: nested prefabs and overrides.
namespace Kiln::PrefabInspection::Rules {

inline constexpr std::array<FindingRule, 6> NESTING{{
    {FindingCode::NESTING_CYCLE, "nesting-cycle", Severity::ERROR,
     "A prefab nests itself, directly or through other prefabs.",
     "Such a prefab would have no end. Its creation fails at the limit of the depth, with a message that names none of "
     "the files.",
     R"(<!-- lamp.prefab -->
<properties>
	<resource>lamp.prefab</resource>
</properties>)",
     "Remove one of the integration points of the reported chain, or let it nest another prefab."},

    {FindingCode::NESTING_TOO_DEEP, "nesting-too-deep", Severity::ERROR,
     "Prefabs are nested in each other in a chain of more than six files.",
     "The creation of the outermost prefab fails, and nothing of it is loaded.",
     R"(<!-- The file is the sixth of a chain and nests a seventh. -->
<properties>
	<resource>props/screw.prefab</resource>
</properties>)",
     "Shorten the chain: put the content of one of its files into the file that nests it."},

    {FindingCode::COMPONENT_AT_POINT_AND_ROOT, "component-at-point-and-root", Severity::WARNING,
     "An integration point has a component of a type that the root of the nested prefab has, too.",
     "The integration point and the nested root become one object, which takes the whole component of the integration "
     "point. No value of the component of the nested root is used, and later changes of it have no effect here.",
     R"(<pool>
	<type>LampComponent</type>
	<item>
		<gameObject>1</gameObject> <!-- an integration point of lamp.prefab, whose root has one as well -->
		<properties><brightness>600</brightness></properties>
	</item>
</pool>)",
     "Remove the component of the integration point, and override single properties in its overridesData instead."},

    {FindingCode::NESTED_TRANSFORM_IGNORED, "nested-transform-ignored", Severity::WARNING,
     "The root of a nested prefab has a transform other than the identity, which is not used.",
     "The transform of a nested root is never used, even if the integration point has none. The object is not where "
     "its "
     "own file shows it.",
     R"(<!-- The root of lamp.prefab -->
<local>1 0 0 0 0 1 0 0 0 0 1 0 12 0 0 1</local>)",
     "Give the integration point the transform, or move the parts of the nested prefab below its root."},

    {FindingCode::NESTED_ROOT_INACTIVE, "nested-root-inactive", Severity::WARNING,
     "The root of a nested prefab is inactive by default.",
     "The live object has the flags of both, the integration point and the nested root. It stays inactive with "
     "everything below it until a program activates it, although the integration point looks active.",
     R"(<!-- The root of lamp.prefab -->
<flags>1</flags>)",
     "Remove the flag 1 from the root of the nested prefab, and set it at the integration points that are to be "
     "inactive."},

    {FindingCode::UNUSED_PREFAB, "unused-prefab", Severity::NOTE, "No other checked prefab nests this one.",
     "The file may be forgotten content. Files that programs load by path are reported as well, because the check does "
     "not know programs.",
     R"(<!-- No file contains this path: -->
<resource>props/old_lamp.prefab</resource>)",
     "Delete the file if nothing loads it."},
}};

inline constexpr std::array<FindingRule, 5> OVERRIDES{{
    {FindingCode::MALFORMED_OVERRIDES, "malformed-overrides", Severity::ERROR,
     "An overridesData text is not well-formed XML, its root is not the element overrides, or a record in it lacks a "
     "readable UUID or a type.",
     "A text that is not well formed, or has another root, means no overrides at all. A malformed record is skipped. "
     "The "
     "loader reports an error for each instance, which names neither the file nor the integration point.",
     R"(<overridesData><![CDATA[
<overrides>
	<gameObject>
		<uuid>lamp</uuid>
	</gameObject>
</overrides>
]]></overridesData>)",
     "Correct the text at the reported position. Texts inside of texts are escaped once for each level."},

    {FindingCode::OVERRIDE_OF_UNKNOWN_OBJECT, "override-of-unknown-object", Severity::WARNING,
     "An override names an object that the nested prefab does not have.",
     "The override has no effect, without a message. Usually the object was removed or the nested prefab was replaced.",
     R"(<gameObject>
	<uuid>ffffffff-1c0b-4cbd-85b8-598101c0b593</uuid>
	<component>...</component>
</gameObject>)",
     "Write the UUID that the object has in the file of the nested prefab, or remove the record. An object that is "
     "nested deeper is reached through the overridesData of the inner integration point."},

    {FindingCode::OVERRIDE_OF_UNKNOWN_COMPONENT, "override-of-unknown-component", Severity::WARNING,
     "An override names a component that its object does not have.",
     "The override has no effect, without a message: overrides cannot add components.",
     R"(<component>
	<type>LampComponnent</type>
	<properties><isLit>false</isLit></properties>
</component>)",
     "Correct the name of the type, add the component in the nested prefab, or remove the record."},

    {FindingCode::OVERRIDE_WITHOUT_EFFECT, "override-without-effect", Severity::WARNING,
     "An override is well formed and names something that exists, but the loader does not apply it.",
     "The value stays as the nested prefab has it, without a message. For example, of an inner integration point only "
     "the PrefabComponent can be overridden directly.",
     R"(<gameObject>
	<uuid>(the UUID of an inner integration point)</uuid>
	<component>
		<type>TransformComponent</type>
		<properties>...</properties>
	</component>
</gameObject>)",
     "Override the overridesData of the inner integration point instead, with a record for the root of the prefab that "
     "is nested there."},

    {FindingCode::HIDDEN_OVERRIDE, "hidden-override", Severity::NOTE,
     "A prefab further out overrides the same property, so that this override has no effect there.",
     "If several files override a property, the outermost one wins. For overridesData it replaces the whole text of an "
     "inner integration point, with all the records in it.",
     R"(<component>
	<type>PrefabComponent</type>
	<properties><overridesData>...</overridesData></properties>
</component>)",
     "Nothing has to be done if this is intended. Otherwise remove one of the overrides, or repeat the hidden records "
     "in the outermost text."},
}};

} // namespace Kiln::PrefabInspection::Rules
