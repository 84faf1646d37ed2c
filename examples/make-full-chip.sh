#!/bin/sh
# Writes examples/full-chip.json to standard output: 256 front-panel ports, 64 in each of the four
# pipes, each with two lossless groups and the lossy one, so that all 128 groups of every pipe are
# taken, and eight queues.
#
#   examples/make-full-chip.sh > examples/full-chip.json
#
# The 512 lossless groups need 512 x 232 cells of headroom, which is the whole skid pool; the
# minimums below leave about half of the buffer to the shared pools on either side.
set -eu

LC_ALL=C exec awk '
function group( id, bitmap, minimum, threshold ) {
    return sprintf( "\"%d\": { \"internalCosBmp\": %d,%s \"minLimitCells\": %d, " \
                    "\"dynamicThreshold\": %d }", id, bitmap, id == 8 ? "" : " \"pfcEnabled\": true,",
                    minimum, threshold )
}

function queue( id,    lossless ) {
    lossless = id == 3 || id == 4
    if ( id == 7 ) {
        return "\"7\": { \"minLimitCells\": 16, \"dynamicThreshold\": 7 }"
    }
    return sprintf( "\"%d\": {%s \"minLimitCells\": 16, \"dynamicThreshold\": %d, " \
                    "\"priority\": \"roundRobin\", \"weight\": %d }", id,
                    lossless ? " \"pfcCos\": " id "," : "", lossless ? 9 : 7, lossless ? 15 : 14 )
}

function port( number, portIndex,    text, id ) {
    text = sprintf( "    \"Ethernet%d\": { \"portIndex\": %d, \"enabled\": \"enabled\", \"qos\": { " \
                    "\"flowControlType\": \"pfc\",\n", number, portIndex )
    text = text "      \"ppgs\": { " group( 3, 8, 20, 5 ) ",\n"
    text = text "                " group( 4, 16, 20, 5 ) ",\n"
    text = text "                " group( 8, 231, 40, 7 ) " },\n"
    text = text "      \"txQueues\": { " queue( 0 )
    for ( id = 1; id < 8; ++id ) {
        text = text ",\n                    " queue( id )
    }
    return text " } } }"
}

BEGIN {
    print "{"
    print "  \"device\": { \"id\": 0, \"maxPipeId\": 3, \"totalCells\": 278528 },"
    print "  \"bufferParams\": {"
    print "    \"totalCellsAvailableForIngress\": 266240,"
    print "    \"leakThreshold\": 100000,"
    print "    \"leakPollInterval\": 1.0"
    print "  },"
    print "  \"cosToTc\": [ 0, 1, 2, 3, 4, 5, 6, 7 ],"
    print "  \"ports\": {"
    for ( number = 1; number <= 256; ++number ) {
        pipe = int( ( number - 1 ) / 64 )
        print port( number, pipe * 128 + ( number - 1 ) % 64 ) ","
    }
    print "    \"Internal67\": { \"portIndex\": 67 },"
    print "    \"Internal68\": { \"portIndex\": 68 }"
    print "  }"
    print "}"
}'
