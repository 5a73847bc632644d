// Stands in for the dialog manager, which the script engine does not have: app.execDialog runs
// a dialog object as a user would, pressing dialogAnswer.button after filling in
// dialogAnswer.fields, and records in dialogSeen what the dialog showed.
var dialogAnswer = {button: "ok", fields: {usrn: "bob", pass: "s3cret", keyc: false}};
var dialogSeen = [];
app.execDialog = function(dialog) {
    var enabled = null;
    var handle = {
        enable: function(items) { enabled = items; },
        store: function() { return dialogAnswer.fields; }
    };
    dialog.initialize(handle);
    var cluster = dialog.description.elements[0].elements[0];
    var rows = cluster.elements[2].elements;
    dialogSeen.push({
        title: dialog.description.name,
        keychainEnabled: enabled.keyc,
        server: cluster.elements[0].name,
        realm: cluster.elements[1].name,
        fields: [rows[0].elements[1].item_id, rows[1].elements[1].item_id,
                 cluster.elements[3].item_id].join(","),
        passwordHidden: rows[1].elements[1].password === true,
        keychainLabel: cluster.elements[3].name,
        buttons: cluster.elements[4].type
    });
    if (dialogAnswer.button == "ok")
        dialog.commit(handle);
    return dialogAnswer.button;
};
