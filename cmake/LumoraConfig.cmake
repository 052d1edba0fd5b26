include(${CMAKE_CURRENT_LIST_DIR}/LumoraTargets.cmake)
