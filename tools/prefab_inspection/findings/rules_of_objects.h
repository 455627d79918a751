#pragma once

#include <prefab_inspection/findings/finding_rules.h>

#include <array>

/// The rules of the groups KP03 to KP05: components and values, game objects and their hierarchy, links.
namespace Kiln::PrefabInspection::Rules {

inline constexpr std::array<FindingRule, 6> COMPONENTS{{
    {FindingCode::UNKNOWN_COMPONENT, "unknown-component", Severity::WARNING,
     "No component type with that name is registered.",
     "The loader skips the components of that type, and the log of a load does not mention them.",
     R"(<type>HierachyComponent</type>)",
     "Correct the name, which has to be equal letter by letter. If the type belongs to a component library, load that "
     "library with --load."},

    {FindingCode::COMPONENT_VERSION, "component-version", Severity::ERROR,
     "The version of a pool differs from the version of the registered component type.",
     "The loader reports an error and reads the properties nevertheless: values whose meaning has changed are read "
     "wrongly, and removed properties are skipped.",
     R"(<pool>
	<type>TransformComponent</type>
	<version>2</version>
</pool>)",
     "Convert the content: save the prefab again with an editor that has the current version of the component type. Do "
     "not only change the number."},

    {FindingCode::UNKNOWN_PROPERTY, "unknown-property", Severity::WARNING,
     "The component type, or the structure, does not have a property of that name.",
     "The loader skips the value with a warning, and the property that was meant keeps its default.",
     R"(<properties>
	<colr>red</colr>
</properties>)",
     "Correct the name, which has to be equal letter by letter, or remove the value if the property no longer exists."},

    {FindingCode::UNREADABLE_VALUE, "unreadable-value", Severity::ERROR,
     "The text of a property does not have the form of its type, or its value is outside of the type's range.",
     "The loader reports an error, and the property keeps its default.", R"(<brightness>very bright</brightness>)",
     "Write the value in the form of the type, for example true or false, a number with a decimal point, 16 numbers "
     "for "
     "a matrix, or a UUID of 32 hexadecimal digits with hyphens."},

    {FindingCode::SUSPICIOUS_TRANSFORM, "suspicious-transform", Severity::WARNING,
     "A transform contains a value that is not a finite number, or scales an axis to zero.",
     "The file loads, but an object with such a transform, and everything below it, has no position, or no extent in "
     "one direction. Computations with it, for example of its inverse, go wrong.",
     R"(<local>1 0 0 0 0 0 0 0 0 0 1 0 12 nan 0 1</local>)",
     "Correct the matrix: 16 numbers, row by row, where the last row is the translation. To hide an object, set the "
     "flag 1 instead of the scale 0."},

    {FindingCode::REPEATED_COMPONENT, "repeated-component", Severity::ERROR,
     "A game object has two components of one type.",
     "An object can have one component of each type. The first one is created, and the creation reports an error for "
     "each other one.",
     R"(<item>
	<gameObject>1</gameObject>
	<properties><brightness>450</brightness></properties>
</item>
<item>
	<gameObject>1</gameObject>
	<properties><brightness>600</brightness></properties>
</item>)",
     "Remove one of the components, or correct its index if it belongs to another object."},
}};

inline constexpr std::array<FindingRule, 9> OBJECTS{{
    {FindingCode::NO_ROOT, "no-root", Severity::ERROR,
     "Every game object has a HierarchyComponent, so none is the root.",
     "A prefab without a root cannot be created, and an integration point that nests it is left out.",
     R"(<pool>
	<type>HierarchyComponent</type>
	<item>
		<gameObject>0</gameObject>
		<properties><parent>...</parent></properties>
	</item>
</pool>)",
     "Remove the HierarchyComponent of the object at the top."},

    {FindingCode::SEVERAL_ROOTS, "several-roots", Severity::ERROR,
     "More than one game object has no HierarchyComponent, so there are several roots.",
     "A prefab with several roots cannot be created. Where it is nested, only the first root becomes an object; the "
     "others are left out without a message.",
     R"(<gameObjects>
	<gameObject>
		<uuid>1b7c5a52-0d0e-4d3b-8c43-6f2a9b1e7d10</uuid>
		<name>Lamp</name>
	</gameObject>
	<gameObject>
		<uuid>c2f8e1d4-93a6-4b17-a5de-0f6b7c2d8e21</uuid>
		<name>Bulb</name>
	</gameObject>
</gameObjects>
<components/>)",
     "Add a HierarchyComponent that names the parent to every object except for one."},

    {FindingCode::ROOT_NOT_FIRST, "root-not-first", Severity::WARNING,
     "The root is not the first game object of the file.",
     "The flags of the first object decide whether a loaded instance starts active, so the flags of the root do not "
     "have the effect that they seem to have.",
     R"(<gameObjects>
	<gameObject>
		<name>Bulb</name>
	</gameObject>
	<gameObject>
		<name>Lamp, the root</name>
	</gameObject>
</gameObjects>)",
     "Move the root to the first position and adjust the indices of the components. An editor does this when it saves "
     "the prefab."},

    {FindingCode::DUPLICATE_UUID, "duplicate-uuid", Severity::ERROR, "Two game objects of a file have the same UUID.",
     "The creation of the prefab fails with a UUID conflict. Copying a gameObject element by hand is the usual cause.",
     R"(<gameObject>
	<uuid>1b7c5a52-0d0e-4d3b-8c43-6f2a9b1e7d10</uuid>
	<name>Left lamp</name>
</gameObject>
<gameObject>
	<uuid>1b7c5a52-0d0e-4d3b-8c43-6f2a9b1e7d10</uuid>
	<name>Right lamp</name>
</gameObject>)",
     "Give the copy a new UUID, and correct the parents, links and overrides that mean the copy."},

    {FindingCode::ZERO_UUID, "zero-uuid", Severity::WARNING, "A game object has the zero UUID.",
     "In links the zero UUID means no object, and in overrides that a program passes it stands for the root. Nothing "
     "can "
     "name this object reliably.",
     R"(<uuid>00000000-0000-0000-0000-000000000000</uuid>)", "Give the object a new UUID."},

    {FindingCode::UNREADABLE_UUID, "unreadable-uuid", Severity::ERROR,
     "A game object has no UUID, or its text is not a UUID.",
     "The loader reports an error and uses the zero UUID. Links and overrides that name the object have no effect, and "
     "two such objects make the creation fail.",
     R"(<uuid>1b7c5a52-0d0e-4d3b-8c43</uuid>)",
     "Write a UUID in the form 8-4-4-4-12 hexadecimal digits. Take the one that links to the object name, if there "
     "are any."},

    {FindingCode::COPIED_FILE, "copied-file", Severity::WARNING,
     "Another checked file has game objects with the same UUIDs; one of the files seems to be a copy.",
     "Both load. But links and overrides name objects by UUID alone: when a nested prefab is replaced by its copy, "
     "they "
     "apply to objects that they were not written for, without a message.",
     R"(<uuid>1b7c5a52-0d0e-4d3b-8c43-6f2a9b1e7d10</uuid>)",
     "Give the objects of the copy new UUIDs, or delete the file that is not used. If the copy is intended, ignore "
     "this code for its folder."},

    {FindingCode::PARENT_NOT_FOUND, "parent-not-found", Severity::WARNING,
     "The parent of a game object is neither an object of the file nor of a prefab that is nested in it.",
     "The object and everything below it are created outside of the hierarchy: they do not move with the prefab, are "
     "not removed with it and stay inactive.",
     R"(<properties>
	<parent>ffffffff-0d0e-4d3b-8c43-6f2a9b1e7d10</parent>
</properties>)",
     "Write the UUID of the parent. An object inside of a nested prefab is named by combining the UUIDs of the "
     "integration point and of the object."},

    {FindingCode::PARENT_CYCLE, "parent-cycle", Severity::ERROR,
     "Following the parents of a game object leads back to the object.",
     "The creation reports an error and leaves one of the objects without a parent, so that all of them are outside of "
     "the hierarchy.",
     R"(<item>
	<gameObject>1</gameObject>
	<properties><parent>(the UUID of object 2)</parent></properties>
</item>
<item>
	<gameObject>2</gameObject>
	<properties><parent>(the UUID of object 1)</parent></properties>
</item>)",
     "Change the parent of one of the objects to an object outside of the cycle."},
}};

inline constexpr std::array<FindingRule, 2> LINKS{{
    {FindingCode::LINK_TO_NOTHING, "link-to-nothing", Severity::WARNING,
     "A link names a UUID that neither an object of the file nor of a prefab that is nested in it has.",
     "The link holds no object, and the component behaves as if nothing were linked. A load reports it with a warning.",
     R"(<load>ffffffff-0d0e-4d3b-8c43-6f2a9b1e7d10</load>)",
     "Write the UUID of the target, or the zero UUID if nothing is to be linked."},

    {FindingCode::LINK_OUT_OF_REACH, "link-out-of-reach", Severity::WARNING,
     "The target of a link exists, but a link cannot name it in this way from where it stands.",
     "The link holds no object. Links are resolved inside of one instance: an object of a nested prefab has another "
     "UUID when it is seen from outside, and links of an integration point's own components are resolved inside of the "
     "nested prefab.",
     R"(<load>(the UUID of an object inside of a nested prefab, as its own file has it)</load>)",
     "Name an object inside of a nested prefab by combining the UUIDs of the integration point and of the object. Move "
     "a component whose link has to reach an object beside the integration point to a plain object."},
}};

} // namespace Kiln::PrefabInspection::Rules
