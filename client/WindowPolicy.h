#pragma once

#include <client/Arrivals.h>
#include <client/Policy.h>
#include <client/Window.h>

namespace LpmClient {

/** How much is tried for a bucket less. */
struct Effort {
    /** Most partitions that are cut anew together. */
    U32 pieces = 4;
    /** Parts in a thousand of a bucket that stay free in every piece that is cut. */
    U32 slack = 110;
};

/** What cuts cost besides the routes that they move: hundredths of a moved route. */
struct WindowPrices {
    /** For a bucket more, each route of its bound. */
    U32 bucket = 80;
    /** Off for room in the incoming route's piece, each route. */
    U32 room = 70;
    /**
     * For a full piece, each route of it; for others less, by the eighth power of the fill: one
     * that is nearly full will soon have to be cut again.
     */
    U32 crowding = 70;
};

/** What a window policy weighs. Hundredths where nothing else is said. */
struct WindowWeights {
    /** While few moves have been made. */
    Effort ample;
    /** Once the moves allowed are spent. */
    Effort scarce;
    /** Moves allowed for each route; none: the effort is always ample. */
    U32 budget = 0;
    /** Moves allowed from the start besides, in bounds of a bucket: small tables need them most. */
    U32 advance = 0;
    /** Moves allowed for each withdrawal besides. */
    U32 withdrawalBudget = 6;
    /** From this part of the moves allowed on, the effort falls. */
    U32 ease = 80;
    /** Neighbours tried at each size of the window, and the partition above it. */
    U32 neighbours = 3;
    /** Whether the smallest window wins in which the routes find room, or wider ones compete. */
    bool firstFit = true;
    /** What is weighed against moved routes. */
    WindowPrices prices;
    /** Most routes moved for each bucket that a withdrawal may save, of its bound. */
    U32 mergePrice = 50;
};

/**
 * Cuts a few neighbouring partitions anew as one tree, so that another bucket is taken only where
 * none of them can be spared. Windows grow from the full partition by one neighbour at a time; in
 * each, cuts of several limits are tried, with and without the present roots, and the cheapest
 * wins: moved routes, a price for a bucket more and for pieces that are nearly full, and less for
 * room where routes come.
 *
 * With a budget it keeps account of the moves made: what has not been spent on one part of the
 * table makes the cuts of another better.
 */
class WindowPolicy : public Policy {
public:
    /** One set of weights for all of its life; memory grows with the windows tried. */
    explicit WindowPolicy(WindowWeights const& weights) : weights_(weights) {}

    std::optional<Cut> makeRoom(ClientTrie& trie, RouteNode* root, RouteNode* incoming,
                                Room const& room) override;
    void madeRoom() noexcept override { arrivals_ = next_; }
    std::optional<Cut> shrink(ClientTrie& trie, RouteNode* root, Room const& room) override;

private:
    struct Choice {
        std::vector<RouteNode*> roots;
        Cut cut;
        double cost = 0;
        bool found = false;
    };
    /** What cuts are tried and how they are judged. */
    struct Aim {
        ClientTrie* trie = nullptr;
        U32 limit = 0;           // routes of a piece
        U32 bound = 0;           // routes of a bucket
        U32 pieces = 1;          // most partitions of a window
        std::size_t growth = 0;  // pieces more than now, at most
        bool save = false;       // only cuts with fewer pieces
        U32 freshBuckets = 0;    // as many there are
        WindowPrices prices;
        RouteNode const* incoming = nullptr;
    };

    Effort effort(ClientTrie const& trie, Room const& room) const;
    Choice search(RouteNode* root, Aim const& aim);
    Choice widen(std::vector<RouteNode*> const& roots, std::vector<RouteNode*> const& nested,
                 Aim const& aim);
    void tryWindow(std::vector<RouteNode*> roots, Aim const& aim, Choice& best);
    void consider(Window const& window, Aim const& aim, U32 incomingItem, Choice& best);
    double price(Window const& window, Aim const& aim, U32 incomingItem) const;

    WindowWeights const weights_;
    Cutter cutter_;
    Trial trial_;
    Arrivals arrivals_;
    Arrivals next_;  // with the route in hand
};

}  // namespace LpmClient
