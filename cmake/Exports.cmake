# What liblumora.so shows: what include/lumora and the installed platform headers declare. Everything else stays inside, so that a
# host sees no class of the product's own and two copies of a bundled library cannot meet. A version script does it, not a mark on
# every class: it needs nothing in the sources, holds for the libraries that are linked in, and is the same for every compiler.
# What it comes to is kept in cmake/exports.txt; scripts/check-exports compares.

# Whole families: Cocoa's names, by their prefix.
set(lumora_exported_families
    AS AV CA CF CG CT NS SC SK UI WK class_ dispatch_ method_ objc_ object_ sel_)
# The rest, exactly.
set(lumora_exported_names
    # include/lumora
    DumpObjcMethods LMLog LMLogManager LMReportButtonHelper Lumora ReportButtonDelegate
    # platform/objc, platform/process
    ClassBuilder ClassDescription::method ClassDescription::protocol ClassDescription::variable ClassObject ClassRegistry Object Process ProcessLocalBase ProcessOnce RegisteredCategory
    RegisteredClass SlotBase classOf completed conformsToProtocol detail::raiseTypeMismatch isKindOfClass nearestDescription
    registeredEncoding respondsToSelector valueForKeyPath
    # platform/dispatch
    DispatchGroup DispatchQueue Executor VirtualExecutor makeRealExecutor onMainThread runTask
    # platform/foundation, platform/systemconfiguration
    Console HTTPHeaders HTTPTransport NetworkPath Value appendToFile archivedDataWithRootObject base64Encoded contentsOfFile
    dataWithJSONObject dataWithPropertyList effectiveTimerInterval equalIgnoringCase isValidURL isValidUTF8 JSONObjectWithData
    lowercased newUUIDString numberFromText parseURL prefixOfUTF16Length propertyListWithData referenceTo referencedIndex removeFile
    repairedUTF8 replaceFile saturatingInt32 saturatingInteger stringWithFormat textOfUUID timeIntervalSince1970Now trimmed
    unarchiveObjectWithData utf16Length writeToFile
    # platform/security
    CCCrypt CC_MD5 arc4random_uniform
    # platform/uikit, platform/quartzcore, platform/coregraphics, platform/webkit, platform/avfoundation
    GestureArena HTMLTokenizer LayoutPass LayoutSolver PageEngine WebEngine WebEngineClient VideoDecoder decodedHTML
    drawViewHierarchy interpolated linkAtPoint loadNibNamed makeBitmapContext makeInMemoryDecoder makeVideoDecoder makeWebEngine
    measureText paintHTML renderLayer setVideoDecoderFactory setWebEngineFactory takeImageOfView)

# What a family would take in, though it is the product's own: these, exactly.
set(lumora_inner_names
    "NSStringFromOSImageHashingProviderId[abi:cxx11](lumora::OSImageHashingProviderId)"
    "NSArrayFromOSImageHashingProviderIdNames[abi:cxx11]()"
    "NSStringFromOSImageHashingQuality[abi:cxx11](lumora::OSImageHashingQuality)"
    "NSArrayFromOSImageHashingQualityNames[abi:cxx11]()"
    "NSArrayForProvidersFromOSImageHashingProviderId(lumora::OSImageHashingProviderId)")

# A version script's patterns know no blanks and no brackets: `?` stands for one.
set(patterns "")
foreach(kind "" "vtable?for?" "VTT?for?" "typeinfo?for?" "typeinfo?name?for?" "non-virtual?thunk?to?" "virtual?thunk?to?"
        "guard?variable?for?")
    foreach(family ${lumora_exported_families})
        string(APPEND patterns "        ${kind}lumora::${family}*;\n")
    endforeach()
    foreach(name ${lumora_exported_names})
        string(APPEND patterns "        ${kind}lumora::${name};\n        ${kind}lumora::${name}[!a-zA-Z0-9_*]*;\n")
    endforeach()
endforeach()
set(inner "")
foreach(name IN LISTS lumora_inner_names)
    string(APPEND inner "        \"lumora::${name}\";\n")
endforeach()
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/exports.map @ONLY CONTENT
"{
global:
    LumoraVersionString; LumoraVersionNumber;
    extern \"C++\" {
${patterns}    };
local:
    extern \"C++\" {
${inner}    };
    *;
};
")
target_link_options(lumora PRIVATE -Wl,--version-script=${PROJECT_BINARY_DIR}/exports.map)
set_property(TARGET lumora APPEND PROPERTY LINK_DEPENDS ${PROJECT_BINARY_DIR}/exports.map)
