<?php
// PHP's side of the side-by-side benchmark:
//   php client.php URL encoded|literal COUNT CALLS
// Builds a request of COUNT structs, then makes CALLS calls with ext/soap's SoapClient and prints
// one line "call MS RESULTCOUNT" for each: the milliseconds of the call alone, and how many
// structs came back.
if ($argc != 5) {
    fwrite(STDERR, "usage: php client.php URL encoded|literal COUNT CALLS\n");
    exit(2);
}
list(, $url, $style, $count, $calls) = $argv;
$encoded = $style === 'encoded';
$client = new SoapClient(null, array(
    'location' => $url,
    'uri' => 'urn:bench',
    'style' => $encoded ? SOAP_RPC : SOAP_DOCUMENT,
    'use' => $encoded ? SOAP_ENCODED : SOAP_LITERAL,
    'cache_wsdl' => WSDL_CACHE_NONE,
));
$items = array();
for ($i = 0; $i < (int)$count; ++$i) {
    $items[] = (object)array('id' => $i, 'name' => 'Item number ' . $i, 'price' => $i + 0.25,
                             'active' => $i % 2 == 0);
}
for ($call = 0; $call < (int)$calls; ++$call) {
    if ($encoded)
        $arguments = array(new SoapParam($items, 'items'));
    else
        $arguments = array(new SoapVar((object)array('item' => $items), SOAP_ENC_OBJECT, null, null,
                                       'echoItems', 'urn:bench'));
    $start = hrtime(true);
    $result = $client->__soapCall('echoItems', $arguments, array('soapaction' => 'urn:bench#echoItems'));
    $ms = (hrtime(true) - $start) / 1e6;
    // The literal reply comes back as the wrapper's members: an array with one entry "item".
    $items_back = $encoded ? $result : $result['item'];
    printf("call %.1f %d\n", $ms, count($items_back));
    unset($result, $items_back);
}
