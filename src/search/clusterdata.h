#pragma once

/// Clusters of one residue's phi/psi map. A flat record without pointers; box indices run 0..323,
/// cluster numbers and places in a list count from 1.
struct ClusterData {
    int clusterCount = 0;             ///< clusters kept
    int peakCount = 0;                ///< peak boxes
    double mapMean = 0.0;             ///< mean of the map
    double mapStd = 0.0;              ///< sample standard deviation of the map
    double boxValue[325] = {};        ///< the map, [box]
    int peakBox[325] = {};            ///< [1..peakCount], highest value first
    double peakValue[325] = {};       ///< value of each peak, same index
    int clusterSize[65] = {};         ///< members, [cluster]
    double clusterSum[65] = {};       ///< sum of the members' values, [cluster]
    int clusterMember[65][325] = {};  ///< [cluster][1..size]; [1] is the seed, then falling value
    int boxCluster[325] = {};         ///< cluster of each box, 0 for none, [box]
};
