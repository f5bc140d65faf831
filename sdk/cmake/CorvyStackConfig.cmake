# find_package(CorvyStack): the target CorvyStack::importer and the function corvystack_importer().
include("${CMAKE_CURRENT_LIST_DIR}/CorvyStackTargets.cmake")
include("${CMAKE_CURRENT_LIST_DIR}/CorvyStackImporter.cmake")
