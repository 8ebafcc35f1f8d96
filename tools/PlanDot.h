#pragma once

#include <client/PartitionManager.h>

#include <string>
#include <vector>

namespace LpmTools {

/**
 * The partitions as a Graphviz graph: each with its prefix, bucket, routes of its bound and
 * covering route, coloured by how full it is, and an arrow from the partition that it is nested in.
 */
std::string partitionsDot(std::vector<LpmClient::PartitionManager*> const& managers);

/**
 * The nodes on the way to a prefix and a bounded number of those below it, as a Graphviz graph with
 * a cluster for each partition.
 */
std::string neighbourhoodDot(LpmClient::PartitionManager& manager,
                             Nimbal::IpGenPrefix const& prefix);

}  // namespace LpmTools
