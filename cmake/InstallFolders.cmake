# Where files are installed. Debian's folder for libraries goes by the architecture whatever the prefix is, so that what a
# build installs and what it packs lie alike.
if(PROJECT_IS_TOP_LEVEL AND EXISTS /etc/debian_version AND CMAKE_LIBRARY_ARCHITECTURE AND NOT CMAKE_CROSSCOMPILING)
  set(CMAKE_INSTALL_LIBDIR "lib/${CMAKE_LIBRARY_ARCHITECTURE}" CACHE PATH "Folder for libraries, below the prefix")
endif()
include(GNUInstallDirs)
