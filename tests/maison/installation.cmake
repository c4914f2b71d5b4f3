# Installs a build into a scratch folder and looks at what is there.
# cmake -DSOURCES=<root> -DCONSTRUIT=<build> -P installation.cmake
set(bac ${CONSTRUIT}/essai_installation)
set(fautes "")
file(REMOVE_RECURSE ${bac})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${CONSTRUIT} --prefix ${bac} OUTPUT_QUIET RESULT_VARIABLE statut)
if(NOT statut EQUAL 0)
  message(FATAL_ERROR "the installation failed: ${statut}")
endif()

foreach(fichier bin/varnion bin/varnion-cli share/applications/varnion.desktop share/mime/packages/varnion.xml
                share/metainfo/varnion.metainfo.xml share/icons/hicolor/scalable/apps/varnion.svg
                share/icons/hicolor/48x48/apps/varnion.png share/icons/hicolor/128x128/apps/varnion.png
                share/icons/hicolor/scalable/mimetypes/application-x-varnion-project.svg
                share/icons/hicolor/scalable/mimetypes/application-x-varnion-image.svg
                share/icons/hicolor/scalable/mimetypes/application-x-varnion-isoplus.svg
                share/varnion/help/en/accueil.html share/varnion/help/fr/accueil.html share/varnion/help/fr/aide.css
                share/doc/varnion/README.md share/doc/varnion/manual.md)
  if(NOT EXISTS ${bac}/${fichier})
    list(APPEND fautes "missing: ${fichier}")
  endif()
endforeach()
foreach(page varnion varnion-cli)
  file(GLOB pages ${bac}/share/man/man1/${page}.1*)
  if(NOT pages)
    list(APPEND fautes "missing: manual page of ${page}")
  endif()
endforeach()
# Developers' notes and libraries of the build stay at home.
file(GLOB_RECURSE trop ${bac}/*.a ${bac}/*.hpp ${bac}/share/varnion/help/README.md)
if(trop)
  list(APPEND fautes "too much: ${trop}")
endif()

execute_process(COMMAND ${bac}/bin/varnion-cli --version OUTPUT_VARIABLE texte RESULT_VARIABLE statut)
if(NOT statut EQUAL 0 OR NOT texte MATCHES "[0-9]+\\.[0-9]+")
  list(APPEND fautes "varnion-cli --version: ${statut} ${texte}")
endif()
# Images that the manual shows are there, in both places.
file(READ ${SOURCES}/docs/manual.md manuel)
string(REGEX MATCHALL "\\(images/[^)]*\\)" images "${manuel}")
foreach(image IN LISTS images)
  string(REGEX REPLACE "[()]" "" image "${image}")
  if(NOT EXISTS ${bac}/share/doc/varnion/${image})
    list(APPEND fautes "the manual shows ${image}")
  endif()
endforeach()
file(REMOVE_RECURSE ${bac})
if(fautes)
  list(JOIN fautes "\n" texte)
  message(FATAL_ERROR "${texte}")
endif()
