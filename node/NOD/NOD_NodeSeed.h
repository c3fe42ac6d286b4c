/// \file NOD_NodeSeed.h
/// What a node is to be made of: a scene passes it to the application's maker of nodes, and that to the
/// constructor.
///
///     class LightNode : public NOD_Node
///     {
///     public:
///         explicit LightNode(const NOD_NodeSeed &seed) : NOD_Node(seed) {}
///         ... the slots that it overrides
///     };
///     scene.setNodeMaker([](const NOD_NodeSeed &seed) -> std::unique_ptr<NOD_Node> {
///         return seed.getTypeName() == "light" ? std::make_unique<LightNode>(seed)
///                                              : std::make_unique<NOD_Node>(seed);
///     });
///
/// Ownership:  shares the interface; borrows the parent, and templates without an interface.
/// Threads:    plain values, for the length of the call.
#pragma once

#include <NOD/NOD_API.h>

#include <functional>
#include <memory>
#include <string>

class NOD_Interface;
class NOD_Node;
class ZEL_Template;

class NOD_API NOD_NodeSeed
{
public:
    const std::string &getName() const { return myName; }
    /// "" for a node without a type.
    const std::string &getTypeName() const { return myTypeName; }
    /// Null for a node without parameters, or of a plain array.
    const std::shared_ptr<const NOD_Interface> &getInterface() const { return myInterface; }
    /// Where it will be; null for a root.
    NOD_Node *getParent() const { return myParent; }

private:
    friend class NOD_Node;

    NOD_NodeSeed() = default;
    NOD_NodeSeed(ZEL_Template *templates, const char *typeName);
    explicit NOD_NodeSeed(std::shared_ptr<const NOD_Interface> interface);

    NOD_Node *myParent = nullptr;
    std::string myName;
    ZEL_Template *myTemplates = nullptr;
    std::string mySharedName; ///< by which lists share their tables
    std::string myTypeName;
    std::shared_ptr<const NOD_Interface> myInterface;
};

/// Makes a node of the seed that it passes to the constructor. Null leaves it to the scene.
using NOD_NodeMaker = std::function<std::unique_ptr<NOD_Node>(const NOD_NodeSeed &)>;
