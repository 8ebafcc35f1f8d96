#include <tests/LpmTrie/ModelOperations.h>

/* Operations played in a world: what is legal when, and how a client acts on a search's answer. */

namespace TrieModel {

namespace {

Label labelFor(World& world, Operation const& operation) {
    Node const* const partition = world.model().partitionOf(operation.prefix);
    if (operation.id == WhichId::null) {
        return 0;
    }
    return operation.id == WhichId::sameAsPartition && partition != nullptr ? partition->label
                                                                            : world.freshLabel();
}

/** A route carries the id of the partition that it comes into, or of the one that it starts. */
bool playInsert(World& world, Operation const& operation) {
    Model const& model = world.model();
    Node const* const node = model.find(operation.prefix);
    if (!(operation.route || operation.partition) ||
        (node != nullptr && ((operation.route && node->route) ||
                             (operation.partition && (node->partition || node->pending != 0))))) {
        return false;
    }
    Node const* const start = operation.other ? model.find(*operation.other) : nullptr;
    if (operation.other &&
        (start == nullptr || !start->partition || !covers(*operation.other, operation.prefix))) {
        return false;
    }
    Node const* const home = model.partitionOf(operation.prefix);
    Label label = 0;
    if (operation.route && !operation.partition && home != nullptr) {
        label = home->label;
    } else if (operation.route && start != nullptr) {
        label = start->label;
    } else {
        label = labelFor(world, operation);
    }
    if (operation.route && start != nullptr && start->label != label) {
        return false;
    }
    world.insert(operation.prefix, operation.other, operation.route, operation.partition, label);
    return true;
}

bool playAskRefusal(World& world, Operation const& operation) {
    Node const* const node = world.model().find(operation.prefix);
    bool const refused =
        !(operation.route || operation.partition) ||
        (node != nullptr && ((operation.route && node->route) ||
                             (operation.partition && (node->partition || node->pending != 0))));
    if (refused) {
        world.askRefusal(operation.prefix, operation.route, operation.partition);
    }
    return refused;
}

bool canBePartition(Node const* node) {
    return node != nullptr && !node->partition && node->pending == 0;
}

bool cut(World& world, Operation const& operation, Prefix const& where) {
    if (!canBePartition(world.model().find(where))) {
        return false;
    }
    Operation there = operation;
    there.prefix = where;
    world.cut(where, labelFor(world, there), operation.collect);
    return true;
}

/** `to` is the partition above `from`, or can become it. */
bool merge(World& world, Operation const& operation, Prefix const& from, Prefix const& to) {
    Model const& model = world.model();
    Node const* const source = model.find(from);
    Node const* const target = model.find(to);
    if (source == nullptr || target == nullptr || !source->partition || from == to ||
        !covers(to, from) || target->table != source->table) {
        return false;
    }
    bool const create = !target->partition;
    if (create && (!canBePartition(target) || !operation.flag)) {
        return false;
    }
    if (target->home != model.nodes()[source->parent].home) {
        return false;
    }
    Operation there = operation;
    there.prefix = from;  // the id of the dissolved partition may live on above it
    world.mergePartition(from, to, create ? labelFor(world, there) : target->label, operation.flag,
                         operation.collect);
    return true;
}

bool playSplit(World& world, Operation const& operation) {
    Node const* const source = world.model().find(operation.prefix);
    if (source == nullptr || !source->partition ||
        source->partitionRouteCount <= operation.number) {
        return false;
    }
    MaybePrefix const where = world.findSplit(operation.prefix, operation.number, operation.flag);
    if (where) {
        cut(world, operation, *where);
    }
    return where.has_value();
}

bool playMergeToNode(World& world, Operation const& operation) {
    Node const* const candidate = world.model().find(operation.prefix);
    Node const* const source = operation.other ? world.model().find(*operation.other) : nullptr;
    if (candidate == nullptr || source == nullptr || !candidate->countsAsPartition() ||
        !source->partition || !covers(source->prefix, candidate->prefix)) {
        return false;
    }
    world.findMergeToNode(operation.prefix, *operation.other, operation.number);
    return true;
}

bool playRedistribute(World& world, Operation const& operation) {
    Node const* const source = world.model().find(operation.prefix);
    if (source == nullptr || !source->partition) {
        return false;
    }
    FoundMerge const found =
        world.findRedistribution(operation.prefix, operation.number, operation.route);
    if (found.toNode) {
        merge(world, operation, *found.fromNode, *found.toNode);
    }
    return true;
}

bool playParentMerge(World& world, Operation const& operation) {
    if (world.model().find(operation.prefix) == nullptr) {
        return false;
    }
    Found const found = world.findParentToMerge(operation.prefix, operation.number);
    if (found.node) {
        merge(world, operation, operation.prefix, *found.node);
    }
    return true;
}

/**
 * A node that is no partition may wait for its removal alone or for other things, so that what it
 * holds without a role never fails verification.
 */
bool playPending(World& world, Operation const& operation) {
    Node const* const node = world.model().find(operation.prefix);
    if (node == nullptr || (!node->partition && (operation.number & removePending) != 0 &&
                            operation.number != removePending)) {
        return false;
    }
    if (!node->hasRole() && (node->label != 0 || node->removalPends())) {
        return false;
    }
    world.pendingIs(operation.prefix, operation.number);
    return true;
}

bool playRemoval(World& world, Operation const& operation) {
    Node const* const node = world.model().find(operation.prefix);
    switch (operation.kind) {
    case Kind::remove:
        world.remove(operation.prefix);
        return true;
    case Kind::removeNode:
        if (node != nullptr) {
            world.removeNode(operation.prefix);
        }
        return node != nullptr;
    case Kind::dissolve:
        if (node == nullptr || !node->partition || (operation.flag && !node->route)) {
            return false;
        }
        world.dissolve(operation.prefix, operation.flag, operation.later, operation.collect);
        return true;
    default:
        if (node == nullptr || node->pending == 0) {
            return false;
        }
        world.complete(operation.prefix);
        return true;
    }
}

}  // namespace

bool play(World& world, Operation const& operation) {
    switch (operation.kind) {
    case Kind::insert:
        return playInsert(world, operation);
    case Kind::askRefusal:
        return playAskRefusal(world, operation);
    case Kind::lookUp:
        world.lookUp(operation.prefix);
        return true;
    case Kind::cut:
        return cut(world, operation, operation.prefix);
    case Kind::merge:
        return operation.other && merge(world, operation, operation.prefix, *operation.other);
    case Kind::split:
        return playSplit(world, operation);
    case Kind::mergeToNode:
        return playMergeToNode(world, operation);
    case Kind::redistribute:
        return playRedistribute(world, operation);
    case Kind::parentMerge:
        return playParentMerge(world, operation);
    case Kind::pending:
        return playPending(world, operation);
    default:
        return playRemoval(world, operation);
    }
}

void removeEverything(World& world) {
    while (!world.model().empty() && world.disagreement().empty()) {
        for (Node const& node : world.model().nodes()) {
            if (node.stands()) {
                Operation operation;
                operation.prefix = node.prefix;
                operation.flag = node.route;
                operation.kind = node.partition ? Kind::dissolve
                                 : node.route   ? Kind::remove
                                                : Kind::complete;
                play(world, operation);
                break;
            }
        }
    }
}

}  // namespace TrieModel
