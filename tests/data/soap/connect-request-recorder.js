// Stands in for SOAP.request while the proxies are tested. The methods of SOAP cannot be
// replaced, so the global SOAP is: its request keeps each call's parameter object in
// requestsSeen (as JSON) and answers the next value of replies; stripNS is the real one.
var requestsSeen = [];
var replies = [];
var realSOAP = SOAP;
SOAP = {
    request: function(p) {
        var copy = {};
        for (var key in p)
            copy[key] = p[key];
        requestsSeen.push(JSON.stringify(copy));
        return replies.shift();
    },
    stripNS: realSOAP.stripNS,
};
