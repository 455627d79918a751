#pragma once

#include "edit_command.h"

namespace Kiln::PrefabTool {

/// Sets properties of an object's components.
class SetValuesCommand final : public EditCommand {
public:
    [[nodiscard]] const Description& description() const override;

private:
    void addArguments(CLI::App& app) override;
    [[nodiscard]] bool change(const Session& session) override;
    void setValue(const Session& session, std::size_t object, const std::string& assignment) const;

    std::vector<std::string> m_assignments; ///< COMPONENT.PROPERTY=VALUE.
};

class RenameCommand final : public EditCommand {
public:
    [[nodiscard]] const Description& description() const override;

private:
    void addArguments(CLI::App& app) override;
    [[nodiscard]] bool change(const Session& session) override;

    std::string m_name;
};

/// Gives an object another parent.
class MoveCommand final : public EditCommand {
public:
    [[nodiscard]] const Description& description() const override;

private:
    void addArguments(CLI::App& app) override;
    [[nodiscard]] bool change(const Session& session) override;

    std::string m_parent;
};

/// Removes an object with everything below it.
class RemoveCommand final : public EditCommand {
public:
    [[nodiscard]] const Description& description() const override;

private:
    void addArguments(CLI::App& app) override;
    [[nodiscard]] bool change(const Session& session) override;
};

/// Adds an integration point.
class AddNestedCommand final : public EditCommand {
public:
    [[nodiscard]] const Description& description() const override;

private:
    void addArguments(CLI::App& app) override;
    [[nodiscard]] bool change(const Session& session) override;
    void reportSuccess(Terminal& terminal) const override;

    std::string m_parent;
    std::string m_resource;
    std::string m_name;
    std::string m_uuid; ///< Empty for a random one until change().
};

} // namespace Kiln::PrefabTool
