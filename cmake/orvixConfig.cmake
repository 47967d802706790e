include(CMakeFindDependencyMacro)
find_dependency(OpenMP COMPONENTS CXX)
find_dependency(Threads)
include("${CMAKE_CURRENT_LIST_DIR}/orvixTargets.cmake")
