#pragma once

#include <object_framework/game_object_table.h>

namespace Kiln::Tessel {

/// The tree that the objects of a table form by parent, first child and siblings. Works on their indices and records,
/// and notifies nobody of changes. Refers to the table. Main thread.
class ObjectTree {
public:
    explicit ObjectTree(GameObjectTable& table) noexcept : m_table(table) {}

    /// Makes an object that has no parent the last child of another one. The records are those of the indices.
    void attach(ObjectIndex index, GameObjectRecord& record, ObjectIndex parentIndex, GameObjectRecord& parent) {
        record.parent = parentIndex;
        if (parent.firstChild == NO_OBJECT) {
            parent.firstChild = record.previousSibling = index;
            return;
        }
        GameObjectRecord& first = m_table[parent.firstChild];
        record.previousSibling = first.previousSibling;
        m_table[first.previousSibling].nextSibling = index;
        first.previousSibling = index;
    }

    /// Detaches an object and its descendants from its parent, if it has one.
    void detach(ObjectIndex index) {
        GameObjectRecord& record = m_table[index];
        if (record.parent == NO_OBJECT) {
            return;
        }
        GameObjectRecord& parent = m_table[record.parent];
        const bool isFirst = parent.firstChild == index;
        const bool isLast = record.nextSibling == NO_OBJECT;
        if (!isFirst) {
            m_table[record.previousSibling].nextSibling = record.nextSibling;
        }
        if (!(isFirst && isLast)) {
            m_table[isLast ? parent.firstChild : record.nextSibling].previousSibling = record.previousSibling;
        }
        if (isFirst) {
            parent.firstChild = record.nextSibling;
        }
        record.parent = record.previousSibling = record.nextSibling = NO_OBJECT;
    }

    /// Whether `index` is `ancestor`, whose record is `record`, or one of its descendants.
    ///
    /// Walks up from `index` and through the descendants of `ancestor` at the same time, and ends with the shorter
    /// walk. Attaching trees to one another until they are one tree of n objects therefore takes O(n log n) steps in
    /// all.
    [[nodiscard]] bool isSelfOrDescendant(ObjectIndex ancestor, const GameObjectRecord& record,
                                          ObjectIndex index) const {
        return record.firstChild == NO_OBJECT ? index == ancestor : isSelfOrBelow(ancestor, index);
    }

    /// The object after `index` in a walk from `root`, parents first; NO_OBJECT at the end of the walk. `record` is the
    /// record of `index`, and `isEntered` tells whether the walk visits the children of `index`.
    [[nodiscard]] ObjectIndex next(ObjectIndex root, ObjectIndex index, const GameObjectRecord& record,
                                   bool isEntered) const {
        if (isEntered && record.firstChild != NO_OBJECT) {
            return record.firstChild;
        }
        const GameObjectRecord* current = &record;
        while (index != root) {
            if (current->nextSibling != NO_OBJECT) {
                return current->nextSibling;
            }
            index = current->parent;
            if (index == NO_OBJECT) { // A component has detached the subtree during the walk.
                break;
            }
            current = &m_table[index];
        }
        return NO_OBJECT;
    }

    /// Position of an object before its components are activated or deactivated, which may remove or move the object.
    struct Position {
        explicit Position(const GameObjectRecord& record) noexcept
            : serial(record.serial), parent(record.parent), nextSibling(record.nextSibling) {}

        [[nodiscard]] bool isLeftBy(const GameObjectRecord& record) const noexcept {
            return record.serial != serial || record.parent != parent;
        }

        std::uint64_t serial;
        ObjectIndex parent;
        ObjectIndex nextSibling;
    };

    /// The next object of a walk whose last object has left its position; NO_OBJECT at the end of the walk.
    [[nodiscard]] ObjectIndex nextAfter(ObjectIndex root, const Position& left) const {
        const ObjectIndex parent = left.parent;
        if (parent == NO_OBJECT || !m_table[parent].isAlive() || !isSelfOrDescendant(root, m_table[root], parent)) {
            return NO_OBJECT;
        }
        const ObjectIndex sibling = left.nextSibling;
        return sibling != NO_OBJECT && m_table[sibling].parent == parent ? sibling
                                                                         : next(root, parent, m_table[parent], false);
    }

    /// Visits `root` and its descendants, parents first. `change(index, record)` returns whether to visit the children
    /// of the object; it may remove and move objects.
    template <class Change>
    void walk(ObjectIndex root, const Change& change) {
        const std::uint64_t rootSerial = m_table[root].serial;
        for (ObjectIndex index = root; index != NO_OBJECT;) {
            GameObjectRecord& record = m_table[index];
            const Position before(record);
            const bool isEntered = change(index, record);
            if (index == root || !before.isLeftBy(record)) [[likely]] {
                index = next(root, index, record, isEntered);
                continue;
            }
            if (isEntered && record.serial == before.serial) { // It was moved with its children.
                for (ObjectIndex child = record.firstChild; child != NO_OBJECT;) {
                    const ObjectIndex sibling = m_table[child].nextSibling;
                    walk(child, change);
                    child = sibling;
                }
            }
            index = m_table[root].serial == rootSerial ? nextAfter(root, before) : NO_OBJECT;
        }
    }

private:
    /// isSelfOrDescendant() for an object that has children.
    [[nodiscard]] bool isSelfOrBelow(ObjectIndex ancestor, ObjectIndex index) const {
        for (ObjectIndex below = ancestor; index != ancestor; index = m_table[index].parent) {
            below = next(ancestor, below, m_table[below], true);
            // All descendants have been visited. If `index` were one of them, the walk upwards would have met
            // `ancestor`.
            if (below == NO_OBJECT || index == NO_OBJECT) {
                return false;
            }
        }
        return true;
    }

    GameObjectTable& m_table;
};

} // namespace Kiln::Tessel
