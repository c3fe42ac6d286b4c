/// \file BenchSceneProto.h
/// The scene of the measurements in protobuf, each parameter a record of its name and value.
#pragma once

#include "BenchScene.h"

#include <google/protobuf/arena.h>
#include <scene.pb.h>

namespace bench
{

inline void protoAdd(zelbench::Node &node, int p, const Value &value)
{
    zelbench::Parm &parm = *node.add_parms();
    parm.set_name(nameOf(p));
    if (const auto *text = std::get_if<std::string>(&value)) {
        parm.set_text(*text);
    } else if (const auto *triple = std::get_if<Triple>(&value)) {
        parm.mutable_triple()->set_x((*triple)[0]);
        parm.mutable_triple()->set_y((*triple)[1]);
        parm.mutable_triple()->set_z((*triple)[2]);
    } else {
        parm.set_number(std::get<double>(value));
    }
}

inline Value protoGet(const zelbench::Parm &parm)
{
    if (parm.has_triple()) {
        return Triple{parm.triple().x(), parm.triple().y(), parm.triple().z()};
    }
    return parm.has_text() ? Value(parm.text()) : Value(parm.number());
}

struct Proto
{
    explicit Proto(int count) : size(count)
    {
        for (const int set : {1, 0}) {
            scene.Clear();
            for (int l = 0; l < size; ++l) {
                zelbench::Node &node = *scene.add_nodes();
                for (int p = 0; p < theParms; ++p) {
                    protoAdd(node, p, valueOf(set, l, p));
                }
            }
            save();
            saved[set] = out;
        }
    }
    std::size_t save()
    {
        require(scene.SerializeToString(&out), "a message is not saved");
        return out.size();
    }
    void load(int set, Target target)
    {
        if (target == Target::STANDING) {
            arena = std::make_unique<google::protobuf::Arena>();
            loaded = google::protobuf::Arena::CreateMessage<zelbench::Scene>(arena.get());
        } else {
            own = std::make_unique<zelbench::Scene>();
            loaded = own.get();
        }
        require(loaded->ParseFromString(saved[set]), "a message does not load");
    }
    void check(int set)
    {
        require(loaded->nodes_size() == size, "a message is cut");
        requireAll(set, size, "a value of a message differs",
                   [&](int l, int p) { return protoGet(loaded->nodes(l).parms(p)); });
        own.reset();
        arena.reset();
    }

    int size;
    zelbench::Scene scene;
    std::string out, saved[2];
    std::unique_ptr<google::protobuf::Arena> arena;
    std::unique_ptr<zelbench::Scene> own;
    zelbench::Scene *loaded = nullptr;
};

} // namespace bench
