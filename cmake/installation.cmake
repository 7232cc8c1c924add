# Lays out what an installation carries, in the places where the library looks under its main path.
# cmake --install runs this for the prefix, scripts/moltelib-installation for a source tree:
#   cmake -D DESTINATION=FOLDER -P cmake/installation.cmake
set(resource ${CMAKE_CURRENT_LIST_DIR}/../resource)
foreach(folder BIN CONF DLL DOC EXE LOG RMTCONF TEMP TOOLS)
  file(INSTALL DESTINATION ${DESTINATION}/${folder} TYPE DIRECTORY FILES "")
endforeach()
file(INSTALL ${resource}/CONF DESTINATION ${DESTINATION})
file(INSTALL ${resource}/rvexinit.ini DESTINATION ${DESTINATION}/CONF)
# The texts. Each language is also what its other countries get, in its folder "default".
foreach(language zh/cn en/us es/es2)
  string(REGEX REPLACE "/.*" "/default" others ${language})
  foreach(folder ${language} ${others})
    file(INSTALL ${resource}/${language}/ DESTINATION ${DESTINATION}/resource/${folder})
  endforeach()
endforeach()
